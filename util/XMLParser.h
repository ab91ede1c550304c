// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XMLParser.h" // IWYU pragma: export; where the responder looks for it
