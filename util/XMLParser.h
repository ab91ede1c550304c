// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XMLParser.h" // IWYU pragma: export; the responder includes this path
