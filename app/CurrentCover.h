// SPDX-License-Identifier: MIT
#pragma once

#include "app/DeviceLink.h"
#include "app/Parameters.h"
#include "store/CoverStore.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

namespace app {

/**
 * The file `current-cover.png` in the state folder: the cover of the song that the appliance is at. Other
 * programs show it. One thread.
 */
class CurrentCover {
public:
    explicit CurrentCover(const std::filesystem::path& stateFolder);

    /**
     * Asks the appliance and brings the file up to date, all at once. There is no file when there is no song,
     * or no cover of it, and one that holds the cover already is not touched. The file stays as it is when
     * the appliance can't be asked; a line on standard error says so once. Nothing is thrown.
     * @param cancelled ends it within a second once it is true
     * @return false when that failed
     */
    [[nodiscard]] bool update(store::CoverStore& store, const std::atomic<bool>& cancelled) noexcept;

private:
    void replaceFile(store::CoverStore& store, Parameters& parameters, const std::string& reply) const;
    void complain(const std::string& failure);

    const std::filesystem::path file_;
    const std::shared_ptr<Parameters::Complaints> complaints_;
    std::unique_ptr<DeviceLink> link_; // once there has been a use for it
    std::string lastFailure_;
};

} // namespace app
