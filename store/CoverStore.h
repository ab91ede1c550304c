// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace store {

/** What an entry says of its song. All texts are UTF-8. */
struct Record {
    std::string artist;
    std::string title;
    std::string album;
    std::string genre;
    std::string songFilename;
    std::string uid;
    std::string imageUrl;
    bool sampler = false;

    bool operator==(const Record&) const = default;
};

/** An image as it is kept: once per content, however many entries point at it. */
struct ImageInfo {
    std::string hash; // SHA-256 of the received bytes, 64 lower-case hexadecimal digits
    std::string mimeType;
    int widthPixels = 0;
    int heightPixels = 0;
    std::int64_t sizeBytes = 0;
    bool shownAsReceived = false; // the received bytes are the PNG that is delivered

    bool operator==(const ImageInfo&) const = default;
};

/** An image on its way into the store; the bytes stay the caller's. */
struct NewImage {
    std::span<const std::byte> bytes;
    std::string mimeType;
    int widthPixels = 0;
    int heightPixels = 0;
    bool shownAsReceived = false;
};

struct Entry {
    int id = 0;
    Record record;
    std::optional<ImageInfo> image;
};

struct Parameter {
    std::string name;
    std::string value;

    bool operator==(const Parameter&) const = default;
};

enum class JobKind { WriteTag, Delete };
enum class JobState { Queued, Running, Done, Failed };

struct Job {
    int id = 0;
    JobKind kind = JobKind::WriteTag;
    int entryId = 0;
    std::string path;     // the song file as it was given, any bytes; empty for a delete job
    bool replace = false; // write the cover also where the file has one
    JobState state = JobState::Queued;
    std::string reason;        // why it failed, or why it was postponed
    int attempts = 0;          // how often it was postponed
    std::string temporaryFile; // which it may leave behind; empty unless it runs
    std::string imageHash; // of the image that the entry had when the job was queued; empty where it had none
};

using Clock = std::chrono::system_clock; // postponed jobs outlive the process

/** The words to look for, field by field; a field that is empty matches everything. */
struct Search {
    std::string artist;
    std::string album;
    std::string title;
};

struct SearchResult {
    std::vector<Entry> entries; // newest first, cut at the limit
    std::int64_t total = 0;     // how many there are
};

enum class IfPresent { Replace, Keep };

/** How often a web service may be asked: `burst` requests at once after a pause, and one more every
 * `interval`. */
struct Pace {
    std::chrono::milliseconds interval{1000};
    int burst = 1;
};

/** What is known of a web service's health. */
struct ServiceState {
    int failures = 0;              // in a row
    std::string reason;            // of the last one
    Clock::time_point pausedUntil; // it is left alone until then

    bool operator==(const ServiceState&) const = default;
};

/**
 * Where entries, images, parameters and jobs live. Many processes may share one store; an object is for one
 * thread. Every operation is a transaction of its own: it is done as a whole or not at all, from then on all
 * processes see it, and it outlives this one. What it reports as kept is on disk, but for what
 * registerEntry(), setParameter(), deleteParameter(), queueTagJob(), offerImage() and what concerns web
 * services do: until flush(), or the next
 * operation that is flushed, a power cut may take that back. Each throws util::Exception when the store
 * fails, and can be called again after that.
 */
class CoverStore {
public:
    CoverStore() = default;
    CoverStore(const CoverStore&) = delete;
    CoverStore& operator=(const CoverStore&) = delete;
    virtual ~CoverStore() = default;

    /** About how many entries without an image are kept: the oldest beyond that go now and then. */
    static constexpr int maxEmptyEntries = 10'000;

    /** How many replaced images an entry keeps. */
    static constexpr int maxEarlierImages = 5;

    /** The entry that stands for the same album, or the same song where `record` has no album. */
    virtual std::optional<Entry> findEntry(const Record& record) = 0;

    /** findEntry(), or a new entry without an image. `record` must have a match key (store/MatchKey.h). */
    virtual Entry registerEntry(const Record& record) = 0;

    /**
     * Gives the matching entry, made where there is none, this image, and fills in what its record lacks.
     * @return the entry's id, greater than 0
     */
    virtual int storeImage(const Record& record, const NewImage& image, IfPresent ifPresent) = 0;

    /** The image of entry `id`; nothing when there is no such entry or it has none. */
    virtual std::optional<ImageInfo> cover(int id) = 0;

    /** The images that entry `id` had before, last one first. */
    virtual std::vector<ImageInfo> earlierImages(int id) = 0;

    /** The received bytes; nothing when no image has that hash. */
    virtual std::optional<util::Buffer> image(const std::string& hash) = 0;

    /** The PNG in which the image `hash` is shown, if it is at hand. It may have been damaged since it was
     * kept. */
    virtual std::optional<util::Buffer> rendition(const std::string& hash) = 0;

    /** Keeps a rendition; the least recently used ones go until all together have at most `maxTotalBytes`. */
    virtual void keepRendition(const std::string& hash, std::span<const std::byte> png,
                               std::uint64_t maxTotalBytes) = 0;

    /**
     * Keeps an image that belongs to no entry, so that image() finds it for a while: the last
     * maxOfferedImages of them, and no more than maxOfferedBytes; the newest in any case.
     * @return its hash
     */
    virtual std::string offerImage(const NewImage& image) = 0;

    static constexpr int maxOfferedImages = 200;
    static constexpr std::int64_t maxOfferedBytes = std::int64_t{256} * 1024 * 1024;

    /** Entries of which each field has every word of `search`, the last word of a field as a prefix. */
    virtual SearchResult search(const Search& search, int limit) = 0;

    /** Entries without an image, newest first. */
    virtual std::vector<Entry> emptyEntries() = 0;

    /** All parameters by name. */
    virtual std::vector<Parameter> parameters() = 0;
    virtual std::optional<std::string> parameter(std::string_view name) = 0;
    virtual void setParameter(const Parameter& parameter) = 0;
    virtual void deleteParameter(std::string_view name) = 0;

    /** Brings everything to disk that was done through this object, in one go. After a failure it is still to
     * be done. */
    virtual void flush() = 0;

    // What web services answered, and how they are to be treated.

    /** About how many answers are kept: those that expire first go now and then. */
    static constexpr int maxKeptAnswers = 20'000;

    /** What was kept under `key`, unless it has expired. */
    virtual std::optional<std::string> keptAnswer(std::string_view key, Clock::time_point now) = 0;
    virtual void keepAnswer(std::string_view key, std::string_view answer, Clock::time_point expires) = 0;

    /**
     * Reserves the service's next turn for the caller.
     * @return when that is, `now` at the earliest; nothing, and nothing is reserved, when it is after
     * `latest`
     */
    virtual std::optional<Clock::time_point> reserveTurn(std::string_view service, const Pace& pace,
                                                         Clock::time_point now, Clock::time_point latest) = 0;

    /** As it was set last; one without failures for a service that nothing is known of. */
    virtual ServiceState serviceState(std::string_view service) = 0;
    virtual void setServiceState(std::string_view service, const ServiceState& state) = 0;

    /** Queue a job for an entry id and a path that nobody has checked. @return its id, greater than 0 */
    virtual int queueTagJob(int entryId, std::string_view path, bool replace) = 0;
    virtual int queueDeleteJob(int entryId) = 0;

    /** The jobs of an entry, in the order in which they were queued. */
    virtual std::vector<Job> jobs(int entryId) = 0;

    /** About how many finished jobs are kept, to be looked at: the oldest beyond that go now and then. */
    static constexpr int maxFinishedJobs = 10'000;

    // For whoever carries the jobs out. Only one does at a time, which is not the store's business.

    /** For how long a job may be postponed. */
    static constexpr std::chrono::hours maxPostponement{24};

    /**
     * The oldest job that is queued and due, if any: one that is due in more than maxPostponement as well,
     * as the clock was put back, then. A delete job has its turn when no tag job of its entry is left to be
     * done.
     */
    virtual std::optional<Job> nextJob(Clock::time_point now) = 0;

    /** When there is something to do next, in the past if that is now: a job is due, or one runs whose
     * process may have died. Nothing when the queue is empty. */
    virtual std::optional<Clock::time_point> nextJobDue() = 0;

    /** The job runs from now on, and `temporaryFile` is on disk in the store before this returns. */
    virtual void startJob(int id, std::string_view temporaryFile) = 0;

    /** What is running, or was when its process died. */
    virtual std::vector<Job> runningJobs() = 0;

    /** Back to the queue, as if it had never been started. */
    virtual void putBackJob(int id) = 0;

    /** Back to the queue after it failed for a reason that passes; `due` is maxPostponement ahead at most. */
    virtual void postponeJob(int id, const std::string& reason, Clock::time_point due) = 0;

    /** @param failure why it failed; empty when it is done */
    virtual void finishJob(int id, const std::string& failure) = 0;

    /** True when a tag job of the entry that was queued before `job` failed, and none for the same file was
     * done since. */
    virtual bool tagJobFailedBefore(const Job& job) = 0;

    /** Takes the image with that hash away from the entry; it becomes an earlier one. Nothing happens where
     * the entry has another one by now, or none. */
    virtual void dropImage(int entryId, const std::string& hash) = 0;
};

} // namespace store
