// SPDX-License-Identifier: MIT
#pragma once

namespace tagger {

/**
 * Tells whether another program writes into a file: nobody does when it is made, and whoever opens the file
 * for writing afterwards has to wait, some seconds at most, until it is gone. Where the file system or the
 * file's owner doesn't allow leases, it sees nothing.
 */
class Lease {
public:
    /** @param file open for reading, and for as long. @throws TryAgainLater when another program has it open
     * for writing */
    explicit Lease(int file);
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease();

    /** @throws TryAgainLater when another program waits to write into the file */
    void check() const;

private:
    int file_;
    bool held_ = false;
};

} // namespace tagger
