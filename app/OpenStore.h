// SPDX-License-Identifier: MIT
#pragma once

#include "app/Parameters.h"
#include "store/CoverStore.h"

#include <memory>
#include <utility>

namespace app {

/** The open store with the view of its parameters. */
struct OpenStore {
    explicit OpenStore(std::unique_ptr<store::CoverStore> opened)
        : store(std::move(opened)), parameters(store.get()) {}

    std::unique_ptr<store::CoverStore> store;
    Parameters parameters;
};

/**
 * The library's one open store: the cover cache opens and owns it, and the song records, which the services
 * make out of nothing, reach it here. Null before CoverCache::CheckDatabase() and after the cache has gone.
 * For the request thread.
 */
[[nodiscard]] OpenStore* openStore() noexcept;
void setOpenStore(OpenStore* store) noexcept;

} // namespace app
