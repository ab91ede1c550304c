// SPDX-License-Identifier: MIT
#include "app/OpenStore.h"

namespace app {
namespace {

OpenStore* theStore = nullptr; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

OpenStore* openStore() noexcept { return theStore; }

void setOpenStore(OpenStore* store) noexcept { theStore = store; }

} // namespace app
