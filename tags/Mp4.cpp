// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/Formats.h"
#include "util/Exception.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace tags {
namespace {

constexpr std::string_view subject = "MP4 file";
constexpr std::size_t headerSize = 8;
constexpr std::size_t versionSize = 4;
constexpr std::uint32_t jpegType = 13;
constexpr std::uint32_t pngType = 14;

struct Atom {
    std::string name;
    std::uint64_t at = 0;
    std::uint64_t header = headerSize; // 16 for a 64-bit size
    std::uint64_t size = 0;

    [[nodiscard]] std::uint64_t content() const noexcept { return at + header; }
    [[nodiscard]] std::uint64_t end() const noexcept { return at + size; }
};

/** @param header the first 16 bytes of the atom, or all that are left */
Atom atomFrom(std::string_view header, std::uint64_t at, std::uint64_t end) {
    const util::ByteReader in = readerOf(header, subject);
    Atom atom{
        .name = std::string(header.substr(4, 4)), .at = at, .header = headerSize, .size = in.bigEndian(0, 4)};
    if (atom.size == 1) {
        atom.header = 2 * headerSize;
        atom.size = bigEndian64(in, headerSize);
    }
    if (atom.size == 0) atom.size = end - at;
    if (atom.size < atom.header) in.damaged();
    if (atom.size > end - at) in.truncated();
    return atom;
}

/**
 * The atoms in a part of `bytes`. Ignores a rest that is too short for an atom, because old files end a list
 * with a zero.
 */
std::vector<Atom> atomsIn(const std::string& bytes, std::uint64_t at, std::uint64_t end) {
    std::vector<Atom> atoms;
    while (end - at >= headerSize) {
        const auto header =
            std::string_view(bytes).substr(at, std::min<std::uint64_t>(2 * headerSize, end - at));
        atoms.push_back(atomFrom(header, at, end));
        checkCount(atoms.size());
        at = atoms.back().end();
    }
    return atoms;
}

std::optional<Atom> find(const std::vector<Atom>& atoms, std::string_view name) {
    const auto found = std::ranges::find(atoms, name, &Atom::name);
    return found == atoms.end() ? std::nullopt : std::optional(*found);
}

/** The "moov" atom: it contains the tags and the offsets of the sound. */
struct Movie {
    std::uint64_t at = 0;
    std::string bytes; // the atoms below have offsets into this
    Atom moov;
    std::optional<Atom> userData;
    std::optional<Atom> meta;
    std::optional<Atom> list;
    bool soundStays = false; // offsets elsewhere in the file point to the sound
};

/** The atoms follow a version field, which is missing in files in QuickTime's form. */
std::vector<Atom> metaAtoms(const std::string& bytes, const Atom& meta) {
    const bool hasVersion = !readerOf(bytes, subject).matches(meta.content() + 4, "hdlr");
    const std::uint64_t begin = meta.content() + (hasVersion ? versionSize : 0);
    if (begin > meta.end()) readerOf({}, subject).damaged();
    return atomsIn(bytes, begin, meta.end());
}

bool hasHandler(const std::string& bytes, const Atom& handler, std::string_view type) {
    constexpr std::size_t typeAt = 8; // after the version and a reserved field
    return handler.name == "hdlr" && handler.size >= handler.header + typeAt + type.size() &&
           bytes.compare(handler.content() + typeAt, type.size(), type) == 0;
}

void findList(Movie& movie) {
    movie.moov = atomsIn(movie.bytes, 0, movie.bytes.size()).front();
    movie.userData = find(atomsIn(movie.bytes, movie.moov.content(), movie.moov.end()), "udta");
    if (!movie.userData) return;
    movie.meta = find(atomsIn(movie.bytes, movie.userData->content(), movie.userData->end()), "meta");
    if (!movie.meta) return;
    const std::vector<Atom> atoms = metaAtoms(movie.bytes, *movie.meta);
    const std::optional<Atom> handler = find(atoms, "hdlr");
    if (handler && !hasHandler(movie.bytes, *handler, "mdir")) readerOf({}, subject).unsupported();
    movie.list = find(atoms, "ilst");
}

Movie movieOf(const SongFile& file) {
    constexpr std::size_t maxAtoms = 1'000'000;
    const util::ByteReader in = readerOf({}, subject);
    Movie movie;
    std::size_t count = 0;
    for (std::uint64_t at = 0; file.size() - at >= headerSize;) {
        const std::string header = file.readSome(at, 2 * headerSize);
        const Atom atom = atomFrom(header, at, file.size());
        if (++count > maxAtoms) in.damaged();
        if (atom.name == "moof" || atom.name == "meta") movie.soundStays = true;
        if (atom.name == "moov") {
            if (!movie.bytes.empty()) in.unsupported();
            movie.at = at;
            movie.bytes = file.read(at, atom.size);
        }
        at = atom.end();
    }
    if (movie.bytes.empty()) in.truncated();
    findList(movie);
    return movie;
}

std::string part(const Movie& movie, std::uint64_t at, std::uint64_t end) {
    return movie.bytes.substr(at, end - at);
}

std::vector<Atom> itemsOf(const Movie& movie) {
    return movie.list ? atomsIn(movie.bytes, movie.list->content(), movie.list->end()) : std::vector<Atom>();
}

/** The first picture is the front cover: MP4 has no picture types. */
std::vector<Picture> picturesOf(const Movie& movie) {
    constexpr std::size_t beforeImage = 8; // type and language
    std::vector<Picture> pictures;
    bool first = true;
    for (const Atom& item : itemsOf(movie)) {
        if (item.name != "covr") continue;
        for (const Atom& data : atomsIn(movie.bytes, item.content(), item.end())) {
            Picture picture{.front = false, .image = {}, .stored = part(movie, data.at, data.end())};
            if (data.name == "data" && data.size >= data.header + beforeImage) {
                picture.front = std::exchange(first, false);
                picture.image = part(movie, data.content() + beforeImage, data.end());
            }
            pictures.push_back(std::move(picture));
        }
    }
    return pictures;
}

StoredTags tagsOf(const SongFile& file) {
    const Movie movie = movieOf(file);
    StoredTags tags{.pictures = picturesOf(movie), .others = {}};
    for (const Atom& item : itemsOf(movie)) {
        if (item.name != "covr") tags.others.push_back(part(movie, item.at, item.end()));
    }
    return tags;
}

/** Calls `visit` with the place, the width and the value of each file offset in `table`. */
template <typename Visit>
void forEachOffset(const Movie& movie, const Atom& table, Visit visit) {
    const std::size_t width = table.name == "co64" ? 8 : 4;
    const util::ByteReader in = readerOf(movie.bytes, subject);
    const std::uint64_t countAt = table.content() + versionSize;
    if (table.size < table.header + versionSize + 4) in.damaged();
    const std::uint64_t count = in.bigEndian(countAt, 4);
    if (count > (table.end() - countAt - 4) / width) in.damaged();
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t at = countAt + 4 + i * width;
        visit(at, width, width == 8 ? bigEndian64(in, at) : in.bigEndian(at, 4));
    }
}

/** The nesting of the atoms from the movie down to the tables of offsets. */
constexpr std::array<std::string_view, 4> wayToOffsets{"trak", "mdia", "minf", "stbl"};

bool leadsToOffsets(const Atom& atom, std::size_t depth) {
    return depth < wayToOffsets.size() && atom.name == wayToOffsets.at(depth);
}

bool hasOffsets(const Atom& atom, std::size_t depth) {
    return depth == wayToOffsets.size() && (atom.name == "stco" || atom.name == "co64");
}

/** Whether an atom in the "meta" atom must stay unchanged. */
bool mustStay(const Movie& movie, const Atom& atom) {
    return atom.name != "ilst" && atom.name != "free" && !hasHandler(movie.bytes, atom, "mdir");
}

/**
 * Describes each offset by the position of its target in the file without the movie. That position stays the
 * same when the movie grows.
 */
std::string describeOffsets(const Movie& movie, const Atom& atom) {
    std::string layout = atom.name;
    forEachOffset(movie, atom, [&](std::uint64_t, std::size_t, std::uint64_t offset) {
        const bool behind = offset >= movie.at + movie.bytes.size();
        if (offset > movie.at && !behind) readerOf({}, subject).damaged();
        layout += bigEndian(behind ? offset - movie.bytes.size() : offset, 8);
    });
    return layout;
}

/** The user data without the tags. */
std::string describeUserData(const Movie& movie) {
    std::string layout;
    for (const Atom& atom : atomsIn(movie.bytes, movie.userData->content(), movie.userData->end())) {
        if (!movie.meta || atom.at != movie.meta->at) layout += part(movie, atom.at, atom.end());
    }
    if (!movie.meta) return layout;
    for (const Atom& atom : metaAtoms(movie.bytes, *movie.meta))
        layout += mustStay(movie, atom) ? part(movie, atom.at, atom.end()) : "";
    return layout;
}

std::string describe(const Movie& movie, const Atom& parent, std::size_t depth) {
    std::string layout = parent.name + "(";
    for (const Atom& atom : atomsIn(movie.bytes, parent.content(), parent.end())) {
        if (depth == 0 && movie.userData && atom.at == movie.userData->at) continue;
        if (leadsToOffsets(atom, depth)) {
            layout += describe(movie, atom, depth + 1);
        } else if (hasOffsets(atom, depth)) {
            layout += describeOffsets(movie, atom);
        } else {
            layout += part(movie, atom.at, atom.end());
        }
    }
    return layout + ")";
}

Body bodyOf(const SongFile& file) {
    const Movie movie = movieOf(file);
    const std::uint64_t end = movie.at + movie.bytes.size();
    const std::string userData = movie.userData ? describeUserData(movie) : std::string();
    return {.bytes = {{0, movie.at}, {end, file.size() - end}},
            .layout = describe(movie, movie.moov, 0) + userData};
}

std::string atomOf(std::string_view name, const std::string& content) {
    return bigEndian(headerSize + content.size(), 4) + std::string(name) + content;
}

std::string freeAtom(std::size_t size) { return atomOf("free", std::string(size - headerSize, '\0')); }

std::string listWith(const Movie& movie, const Cover& cover) {
    std::string items;
    for (const Atom& item : itemsOf(movie)) {
        if (item.name != "covr") items += part(movie, item.at, item.end());
    }
    std::string covers = atomOf("data", bigEndian(cover.png ? pngType : jpegType, 4) + std::string(4, '\0') +
                                            std::string(cover.image));
    for (const Picture& picture : picturesOf(movie))
        covers += picture.front ? "" : picture.stored;
    return atomOf("ilst", items + atomOf("covr", covers));
}

/** A part of the movie, its replacement, and the atoms that grow with it. */
struct Change {
    Range place;
    std::string bytes;
    std::vector<Atom> around;
};

/** The list and the free atoms after it, which the new list may use up. */
Range placeOfList(const Movie& movie) {
    Range place{movie.list->at, movie.list->size};
    const std::vector<Atom> atoms = metaAtoms(movie.bytes, *movie.meta);
    for (const Atom& atom : atoms) {
        if (atom.name == "free" && atom.at == place.at + place.size) place.size += atom.size;
    }
    return place;
}

Change changeOf(const Movie& movie, const Cover& cover) {
    using namespace std::string_literals;
    Change change{.place = {movie.moov.end(), 0}, .bytes = listWith(movie, cover), .around = {movie.moov}};
    if (movie.list) change.place = placeOfList(movie);
    const std::size_t needed = change.bytes.size() + headerSize;
    if (change.bytes.size() != change.place.size)
        change.bytes += freeAtom(headerSize + paddingFor(needed, change.place.size));
    if (movie.meta) {
        if (!movie.list) change.place.at = movie.meta->end();
        change.around.insert(change.around.end(), {*movie.userData, *movie.meta});
        return change;
    }
    const std::string handler = atomOf("hdlr", std::string(8, '\0') + "mdirappl" + std::string(9, '\0'));
    change.bytes = atomOf("meta", std::string(versionSize, '\0') + handler + change.bytes);
    if (movie.userData) {
        change.place.at = movie.userData->content();
        change.around.push_back(*movie.userData);
    } else {
        change.bytes = atomOf("udta", change.bytes);
    }
    return change;
}

/** Overwrites the number at `at`. */
void set(std::string& bytes, std::uint64_t at, std::size_t width, std::uint64_t value) {
    if (width == 4 && value > std::numeric_limits<std::uint32_t>::max())
        throw util::Exception("The song file has no room for a cover: its format ends at 4 GB.");
    bytes.replace(at, width, bigEndian(value, width));
}

[[noreturn]] void refuseToMove() {
    throw util::Exception("This MP4 file has no room for a cover, and its sound can't be moved. It takes one "
                          "after it has been written anew, without fragments and copy protection.");
}

void moveOffsets(Movie& movie, const Atom& parent, std::size_t depth, std::uint64_t by) {
    for (const Atom& atom : atomsIn(movie.bytes, parent.content(), parent.end())) {
        if (leadsToOffsets(atom, depth)) moveOffsets(movie, atom, depth + 1, by);
        if (atom.name == "saio") refuseToMove(); // more offsets, to data that decrypts the sound
        if (!hasOffsets(atom, depth)) continue;
        forEachOffset(movie, atom, [&](std::uint64_t at, std::size_t width, std::uint64_t offset) {
            if (offset > movie.at) set(movie.bytes, at, width, offset + by);
        });
    }
}

void writeFront(SongFile& file, const Cover& cover) {
    Movie movie = movieOf(file);
    const std::uint64_t oldSize = movie.bytes.size();
    const Change change = changeOf(movie, cover);
    const std::uint64_t by = change.bytes.size() - change.place.size; // modulo 2^64 if it shrinks
    const bool soundMoves = by != 0 && movie.at + oldSize < file.size();
    if (soundMoves && movie.soundStays) refuseToMove();
    if (soundMoves) moveOffsets(movie, movie.moov, 0, by);
    for (const Atom& atom : change.around) {
        const bool wide = atom.header != headerSize;
        const bool toTheEnd = readerOf(movie.bytes, subject).bigEndian(atom.at, 4) == 0;
        if (!toTheEnd) set(movie.bytes, wide ? atom.at + headerSize : atom.at, wide ? 8 : 4, atom.size + by);
    }
    movie.bytes.replace(change.place.at, change.place.size, change.bytes);
    file.replace(movie.at, oldSize, movie.bytes);
}

} // namespace

const Format mp4Format{tagsOf, bodyOf, knownByItsParts, writeFront, unlimitedRoom};

} // namespace tags
