// SPDX-License-Identifier: MIT
#pragma once

#include "app/SongInfo.h"
#include "util/Image.h"

#include <memory>
#include <string>

/**
 * The cover cache: covers under a numeric id with the song they belong to, parameters, and the queue of tag
 * jobs. CheckDatabase() comes before everything else. Every operation throws util::Exception when the store
 * fails and leaves the cache usable. One thread at a time; any number of processes may share the store.
 */
class CoverCache {
public:
    CoverCache();
    CoverCache(const CoverCache&) = delete;
    CoverCache& operator=(const CoverCache&) = delete;
    ~CoverCache();

    /**
     * Sets up the libraries, then opens the store, making or migrating it where that is needed.
     * @return true
     * @throws util::Exception that says why the store can't be used; uncaught, it ends the process with that
     * one line
     */
    bool CheckDatabase();

    /** Fills `image` with the cover `id`. @return false when there is none */
    bool GetImage(int id, util::Image* image);

    /**
     * Fills in what `song` lacks from the matching entry. A valid song without a match gets an entry without
     * an image, so that ShowEmpty() tells what still wants a cover.
     * @return true when an entry with a cover was found
     */
    bool Lookup(SongInfo& song);

    /**
     * Keeps the song's image.
     * @param replace put it in the place of an image that the matching entry has already; else that one stays
     * @return the cache id, on disk by then; 0 when the song has no image or names no song
     */
    int Store(SongInfo& song, bool replace);

    /** Brings the picture of what is playing up to date; nothing while no device is set. Never throws. */
    void ShowCurrentCover();

    /** A document with the newest entries that match every argument that is not empty. */
    std::string Query(std::string artist, std::string album, std::string title);

    /** A document with the entries that have no image. */
    std::string ShowEmpty();

    /** A document with the stored parameters; what was set and deleted before it is on disk by then. */
    std::string ReadParameters();

    void StoreParameter(std::string name, std::string value);

    /** A name that isn't there is no error. */
    void DeleteParameter(std::string name);

    /**
     * Queues a job that writes the cover `id` into the song file `path`; both are judged when it runs.
     * @param replace also where the file has a front cover already
     * @return the job's id
     */
    int WriteCoverTag(int id, std::string path, bool replace);

    /** Queues the removal of the cover `id`, after the tag jobs queued for it so far. @return the job's id */
    int CreateDeleteJob(int id);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
