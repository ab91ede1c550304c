// SPDX-License-Identifier: MIT
#pragma once

namespace tagger {

/**
 * Detects other programs that write into a file. The constructor checks that nobody has it open for writing.
 * A program that opens it for writing later has to wait until the lease is gone, some seconds at most. If the
 * file system or the file's owner doesn't allow leases, writers go unnoticed.
 */
class Lease {
public:
    /**
     * @param file open for reading, and stays open as long as this object lives
     * @throws TryAgainLater when another program has it open for writing
     */
    explicit Lease(int file);
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease();

    /** @throws TryAgainLater when another program is waiting to write into the file */
    void check() const;

private:
    int file_;
    bool held_ = false;
};

} // namespace tagger
