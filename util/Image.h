// SPDX-License-Identifier: MIT
#pragma once

#include "image/Image.h" // IWYU pragma: export; the responder includes this path
