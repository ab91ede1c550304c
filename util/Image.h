// SPDX-License-Identifier: MIT
#pragma once

#include "image/Image.h" // IWYU pragma: export; where the responder looks for it
