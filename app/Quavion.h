// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

/**
 * The link to the appliance: to its player and its music library, through the XML interface whose address is
 * the parameter `deviceUrl`. One thread at a time.
 */
class Quavion {
public:
    Quavion(const Quavion&) = delete;
    Quavion& operator=(const Quavion&) = delete;

    /** The one instance, always the same and never null; it stays its own. */
    static Quavion* Instance();

    /**
     * Gives the appliance a command as it is and waits for the reply: UTF-8, without an XML declaration. What
     * the appliance itself refuses is a reply, too.
     * @throws util::Exception that says why there is no whole reply; the command may have been carried out
     * then, but never twice
     */
    std::string Send(std::string command);

private:
    Quavion();
    ~Quavion();

    struct Impl;
    std::unique_ptr<Impl> impl_;
};
