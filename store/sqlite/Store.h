// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/Renditions.h"

#include <filesystem>
#include <memory>

namespace store {

class SqliteConnection;

/** The store in a folder of this machine: a SQLite database, and the renditions as files beside it. */
class SqliteStore : public CoverStore {
public:
    /**
     * Opens the store in `folder`, which must exist; makes or migrates it where that is needed.
     * @throws util::Exception
     */
    explicit SqliteStore(const std::filesystem::path& folder);
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;
    ~SqliteStore() override;

    std::optional<Entry> findEntry(const Record& record) override;
    Entry registerEntry(const Record& record) override;
    int storeImage(const Record& record, const NewImage& image, IfPresent ifPresent) override;
    std::optional<ImageInfo> cover(int id) override;
    std::vector<ImageInfo> earlierImages(int id) override;
    std::optional<util::Buffer> image(const std::string& hash) override;
    std::optional<util::Buffer> rendition(const std::string& hash) override;
    void keepRendition(const std::string& hash, std::span<const std::byte> png,
                       std::uint64_t maxTotalBytes) override;
    std::string offerImage(const NewImage& image) override;
    SearchResult search(const Search& search, int limit) override;
    std::vector<Entry> emptyEntries() override;
    std::vector<Parameter> parameters() override;
    std::optional<std::string> parameter(std::string_view name) override;
    void setParameter(const Parameter& parameter) override;
    void deleteParameter(std::string_view name) override;
    void flush() override;
    std::optional<std::string> keptAnswer(std::string_view key, Clock::time_point now) override;
    void keepAnswer(std::string_view key, std::string_view answer, Clock::time_point expires) override;
    std::optional<Clock::time_point> reserveTurn(std::string_view service, const Pace& pace,
                                                 Clock::time_point now, Clock::time_point latest) override;
    ServiceState serviceState(std::string_view service) override;
    void setServiceState(std::string_view service, const ServiceState& state) override;
    int queueTagJob(int entryId, std::string_view path, bool replace) override;
    int queueDeleteJob(int entryId) override;
    std::vector<Job> jobs(int entryId) override;
    std::optional<Job> nextJob(Clock::time_point now) override;
    std::optional<Clock::time_point> nextJobDue() override;
    void startJob(int id, std::string_view temporaryFile) override;
    std::vector<Job> runningJobs() override;
    void putBackJob(int id) override;
    void postponeJob(int id, const std::string& reason, Clock::time_point due) override;
    void finishJob(int id, const std::string& failure) override;
    bool tagJobFailedBefore(const Job& job) override;
    void dropImage(int entryId, const std::string& hash) override;

private:
    /**
     * Runs `operation` on the open connection. That is opened anew when an earlier failure spoilt it, and
     * when somebody has replaced the database: what goes into a file that nobody finds any more would be
     * lost.
     * @param doing what is being tried, for the log
     */
    template <typename Operation>
    auto run(std::string_view doing, Operation operation);

    /** run(), as a transaction that writes. */
    template <typename Operation>
    void write(std::string_view doing, Operation operation);

    /** write() with a commit that flush() brings to disk. */
    template <typename Operation>
    void writeUnflushed(std::string_view doing, Operation operation);

    std::filesystem::path file_;
    Renditions renditions_;
    std::unique_ptr<SqliteConnection> connection_;
    bool unflushed_ = false; // something was committed that may not be on disk yet
};

} // namespace store
