// SPDX-License-Identifier: MIT
#pragma once

#include "util/Image.h"

#include <string>

/**
 * One song's record: its tags, where its cover can be fetched from, its cover and its place in the cover
 * cache. Texts are byte strings as they came; comparing and storing bring them to UTF-8. One thread at a
 * time.
 */
class SongInfo {
public:
    SongInfo();
    SongInfo(const char* artist, const char* title, const char* album);
    SongInfo(const char* artist, const char* title, const char* album, bool sampler);
    SongInfo(std::string artist, std::string title, std::string album);
    SongInfo(std::string artist, std::string title, std::string album, bool sampler);
    SongInfo(const SongInfo& other);
    SongInfo& operator=(const SongInfo& other);
    ~SongInfo();

    /** By value, the image by its pixels' size and its encoded bytes. */
    bool operator==(const SongInfo& other) const;
    bool operator!=(const SongInfo& other) const;

    std::string getArtist() const;
    std::string getTitle() const;
    std::string getAlbum() const;
    std::string getGenre() const;
    std::string getFilename() const;
    std::string getUid() const;
    std::string getImageUrl() const;
    bool isSampler() const;
    bool isAlbumGuessed() const;
    float getGuessScore() const;

    /** The record's id in the cover cache; 0 while it has none. */
    int getCacheId() const;

    void setArtist(std::string artist);
    void setTitle(std::string title);
    void setAlbum(std::string album);
    void setGenre(std::string genre);
    void setFilename(std::string filename);
    void setUid(std::string uid);
    void setImageUrl(std::string imageUrl);
    void setSampler(bool sampler);
    void setCacheId(int cacheId);

    /** True when the record names a song or an album: an artist (or a sampler) and a title or an album. */
    bool isValid() const;

    /** Writes the record to standard error, one short line a field that is set. */
    void Dump() const;

    bool hasImage() const;

    /** The held image, valid as long as the record. */
    util::Image* getImage();

    /**
     * Decodes JPEG or PNG bytes, of which it keeps a copy; drops the image when there are none.
     * @throws util::Exception when they are no such image, damaged, or over `maxImageBytes` or
     * `maxImagePixels`
     */
    void setImage(const void* data, unsigned int length);
    void setImage(util::Image image);

    /**
     * Takes the image at the record's image URL: an http or https address, or "cover:" and the hash of a
     * stored image. @return false, with the image unchanged and a line on standard error, when that fails
     */
    bool loadImage();

    /** Reads the image file `path`. @return false when that fails */
    bool loadImage(const char* path);

    /** Writes the image to `path` (util::Image::save). */
    bool saveImage(const char* path);

    /** True when the song's own file carries a front cover. */
    bool hasEmbeddedImage() const;

    /**
     * Writes the cover as baseline JPEG of at most 1200 pixels beside the song's file, which has to be below
     * the parameter `musicFolder`.
     * @param replace also where there is one already, whoever wrote it
     * @return false, with a line on standard error, when nothing was written
     */
    bool WriteFolderJpeg(bool replace);

    /** True where there is a folder.jpg, however capitalised, beside a song's file below `musicFolder`. */
    bool HasFolderJpeg() const;

    /** The path of the cover beside the song's file; empty while the record has no file name. */
    std::string getFolderJpegName() const;

    /** A document with suggestions for a cover, the best first; docs/matching.md tells how they are found.
     * @throws util::Exception when the cover cache fails */
    std::string getCoverartInformation();

    /** A document with the albums that the song may come from by its artist and title, likewise. */
    std::string guessAlbumNames();

    /** A document with the songs of the record's album as the appliance has them, in playing order.
     * @throws util::Exception when it can't be asked */
    std::string readAlbumSongs();

    /** Sets album, album guessed and score by the first of guessAlbumNames(). @return false, with nothing
     * changed, when there is none */
    bool GuessAlbumName();

    /** Sets the image URL to the first of getCoverartInformation(). @return false, with the URL unchanged,
     * when there is none */
    bool SearchCoverart();

    /** As guessAlbumNames(), of this song and by MusicBrainz alone. */
    std::string MBAlbumSearch(std::string artist, std::string title);

    /** As getCoverartInformation(), of this album and by one source alone: a product search in the Amazon XML
     * format, or MusicBrainz with the Cover Art Archive. */
    std::string XMLAWSSearch(std::string artist, std::string album);
    std::string XMLMBSearch(std::string artist, std::string album);

    /**
     * The address of a product search for the record's artist and album, signed for the next quarter of an
     * hour.
     * @param page 1 to 10
     * @throws util::Exception when the parameters lack its keys
     */
    std::string getAmazonWebserviceURL(int page);

    /** `text` without the words that tell editions apart but not songs: "the", "(remastered)", "disc 2",
     * "feat. ...". */
    std::string purgeStopWords(std::string text) const;

private:
    float guessScore = 0.0F;
    bool albumGuessed = false;
    bool imageUrlSearched = false;
    bool sampler = false;
    std::string artist;
    std::string title;
    std::string album;
    std::string genre;
    std::string songFilename;
    std::string uid;
    std::string imageUrl;
    util::Image image;
    int cacheKey = 0;
};
