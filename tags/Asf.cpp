// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/Formats.h"
#include "util/Exception.h"

#include <algorithm>
#include <optional>

namespace tags {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view subject = "WMA file";
constexpr std::size_t guidSize = 16;
constexpr std::size_t objectHeader = 24;    // GUID and size
constexpr std::size_t fileHeader = 30;      // an object's header, the number of objects, two reserved bytes
constexpr std::size_t extensionHeader = 22; // bytes before the objects in a header extension
constexpr std::uint32_t frontCover = 3;
constexpr std::uint32_t bytesType = 1;

constexpr auto headerGuid = "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv;
constexpr auto filePropertiesGuid = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
constexpr auto dataGuid = "\x36\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv;
constexpr auto contentGuid = "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50"sv;
constexpr auto extensionGuid = "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"sv;
constexpr auto libraryGuid = "\x94\x1C\x23\x44\x98\x94\xD1\x49\xA1\x41\x1D\x13\x4E\x45\x70\x54"sv;
constexpr auto paddingGuid = "\x74\xD4\x06\x18\xDF\xCA\x09\x45\xA4\xBA\x9A\xAB\xCB\x96\xAA\xE8"sv;
constexpr auto reservedGuid = "\x11\xD2\xD3\xAB\xBA\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"sv;

struct Object {
    std::string guid;
    std::string content;
};

/** An attribute of the extended content description, for values below 64 KB, or of the metadata library. */
struct Attribute {
    std::string stored;
    std::string name; // UTF-16
    std::uint32_t type = 0;
    std::string value;
};

std::string utf16(std::string_view ascii) {
    std::string text;
    for (const char c : ascii)
        text += {c, '\0'};
    return text + std::string(2, '\0');
}

std::vector<Object> objectsIn(std::string_view bytes) {
    const util::ByteReader in = readerOf(bytes, subject);
    std::vector<Object> objects;
    for (std::size_t at = 0; at < bytes.size();) {
        if (!in.has(at, objectHeader)) in.damaged();
        const std::uint64_t size = littleEndian64(in, at + guidSize);
        if (size < objectHeader || size > bytes.size() - at) in.damaged();
        objects.push_back({std::string(bytes.substr(at, guidSize)),
                           std::string(bytes.substr(at + objectHeader, size - objectHeader))});
        checkCount(objects.size());
        at += size;
    }
    return objects;
}

std::string render(const std::vector<Object>& objects) {
    std::string bytes;
    for (const Object& object : objects)
        bytes += object.guid + littleEndian(objectHeader + object.content.size(), 8) + object.content;
    return bytes;
}

std::uint64_t headerEnd(const SongFile& file) {
    const std::string header = file.read(0, fileHeader);
    const util::ByteReader in = readerOf(header, subject);
    const std::uint64_t size = littleEndian64(in, guidSize);
    if (!in.matches(0, headerGuid) || size < fileHeader) in.damaged();
    if (size > file.size()) in.truncated();
    return size;
}

std::vector<Object> headerOf(const SongFile& file) {
    const std::uint64_t end = headerEnd(file);
    return objectsIn(file.read(fileHeader, end - fileHeader));
}

std::vector<Object> extensionOf(const Object& object) {
    if (object.content.size() < extensionHeader) readerOf({}, subject).damaged();
    return objectsIn(std::string_view(object.content).substr(extensionHeader));
}

std::vector<Attribute> attributesIn(const Object& object) {
    const bool library = object.guid == libraryGuid;
    const util::ByteReader in = readerOf(object.content, subject);
    std::vector<Attribute> attributes;
    std::size_t at = 2;
    for (std::size_t left = in.littleEndian(0, 2); left != 0; --left) {
        const std::size_t begin = at;
        const auto text = [&](std::size_t from, std::size_t length) {
            (void)in.part(from, length);
            return object.content.substr(from, length);
        };
        Attribute attribute;
        const std::size_t nameSize = in.littleEndian(library ? at + 4 : at, 2);
        if (library) { // language, stream, name size, type, value size; then name and value
            attribute.type = in.littleEndian(at + 6, 2);
            attribute.name = text(at + 12, nameSize);
            attribute.value = text(at + 12 + nameSize, in.littleEndian(at + 8, 4));
            at += 12 + nameSize + attribute.value.size();
        } else {
            attribute.name = text(at + 2, nameSize);
            attribute.type = in.littleEndian(at + 2 + nameSize, 2);
            attribute.value = text(at + 6 + nameSize, in.littleEndian(at + 4 + nameSize, 2));
            at += 6 + nameSize + attribute.value.size();
        }
        attribute.stored = object.content.substr(begin, at - begin);
        attributes.push_back(std::move(attribute));
    }
    return attributes;
}

std::string render(const std::vector<Attribute>& attributes) {
    std::string content = littleEndian(attributes.size(), 2);
    for (const Attribute& attribute : attributes)
        content += attribute.stored;
    return content;
}

bool isPicture(const Attribute& attribute) {
    const std::string name = utf16("WM/Picture");
    return attribute.type == bytesType &&
           (attribute.name == name || attribute.name == std::string_view(name).substr(0, name.size() - 2));
}

/** The end of a UTF-16 text, after its NUL. */
std::size_t endOfText(std::string_view bytes, std::size_t at) {
    while (at + 1 < bytes.size() && (bytes[at] != '\0' || bytes[at + 1] != '\0'))
        at += 2;
    return std::min(at + 2, bytes.size());
}

/** The value is the picture's type, its size, the MIME type, a description, and the image. */
Picture pictureIn(const Attribute& attribute) {
    const util::ByteReader in = readerOf(attribute.value, subject);
    Picture picture{
        .front = in.size() != 0 && in.byte(0) == frontCover, .image = {}, .stored = attribute.stored};
    constexpr std::size_t mimeAt = 5;
    const bool address = in.has(0, mimeAt) && attribute.value.compare(mimeAt, 6, utf16("-->"), 0, 6) == 0;
    if (!in.has(0, mimeAt) || address) return picture;
    picture.image = attribute.value.substr(endOfText(attribute.value, endOfText(attribute.value, mimeAt)));
    if (picture.image.size() != in.littleEndian(1, 4)) picture.image.clear();
    return picture;
}

bool isFront(const Attribute& attribute) { return isPicture(attribute) && pictureIn(attribute).front; }

Attribute attributeOf(const Cover& cover, bool library) {
    const std::string name = utf16("WM/Picture");
    const std::string value = littleEndian(frontCover, 1) + littleEndian(cover.image.size(), 4) +
                              utf16(cover.mime) + utf16("") + std::string(cover.image);
    std::string stored;
    if (library) {
        stored = littleEndian(0, 4) + littleEndian(name.size(), 2) + littleEndian(bytesType, 2) +
                 littleEndian(value.size(), 4) + name + value;
    } else {
        stored = littleEndian(name.size(), 2) + name + littleEndian(bytesType, 2) +
                 littleEndian(value.size(), 2) + value;
    }
    return {.stored = stored, .name = name, .type = bytesType, .value = value};
}

void collectAttributes(const Object& object, StoredTags& tags) {
    for (const Attribute& attribute : attributesIn(object)) {
        if (isPicture(attribute)) {
            tags.pictures.push_back(pictureIn(attribute));
        } else {
            tags.others.push_back(attribute.stored);
        }
    }
}

/** Objects contain other objects at one level only: in the header extension. */
void collect(const std::vector<Object>& objects, bool inExtension, StoredTags& tags) {
    for (const Object& object : objects) {
        if (object.guid == contentGuid || object.guid == libraryGuid) {
            collectAttributes(object, tags);
        } else if (object.guid == extensionGuid && !inExtension) {
            collect(extensionOf(object), true, tags);
        } else if (object.guid == filePropertiesGuid) {
            std::string content = object.content;
            content.replace(std::min(content.size(), guidSize), 8, "the file's size");
            tags.others.push_back(content);
        } else if (object.guid != paddingGuid) {
            tags.others.push_back(object.guid + object.content);
        }
    }
}

StoredTags tagsOf(const SongFile& file) {
    StoredTags tags;
    collect(headerOf(file), false, tags);
    return tags;
}

Body bodyOf(const SongFile& file) {
    const std::uint64_t end = headerEnd(file);
    if (end == file.size()) readerOf({}, subject).truncated();
    return {.bytes = {{end, file.size() - end}}, .layout = {}};
}

Object& objectWith(std::vector<Object>& objects, std::string_view guid, std::string_view contentOfNew) {
    const auto found = std::ranges::find(objects, guid, &Object::guid);
    if (found != objects.end()) return *found;
    objects.push_back({std::string(guid), std::string(contentOfNew)});
    return objects.back();
}

/** Removes all front covers from the object. Unless `cover` is null, inserts it before all other pictures. */
void change(Object& object, const Cover* cover) {
    std::vector<Attribute> attributes = attributesIn(object);
    std::erase_if(attributes, isFront);
    if (cover != nullptr) {
        attributes.insert(std::ranges::find_if(attributes, isPicture),
                          attributeOf(*cover, object.guid == libraryGuid));
    }
    if (attributes.size() > 0xFFFF) throw util::Exception("The song file has no room for another tag.");
    object.content = render(attributes);
}

void setFront(std::vector<Object>& header, const Cover& cover) {
    constexpr std::size_t maxInContent = 0xFFFF; // largest value of an attribute there
    const auto none = "\0\0"sv;
    const bool large = attributeOf(cover, true).value.size() > maxInContent;
    change(objectWith(header, contentGuid, none), large ? nullptr : &cover);
    const std::string newExtension = std::string(reservedGuid) + littleEndian(6, 2) + littleEndian(0, 4);
    Object& extension = objectWith(header, extensionGuid, newExtension);
    std::vector<Object> objects = extensionOf(extension);
    change(objectWith(objects, libraryGuid, none), large ? &cover : nullptr);
    const std::string content = render(objects);
    extension.content.replace(extensionHeader - 4, std::string::npos,
                              littleEndian(content.size(), 4) + content);
}

/** Updates the file's size in the file properties. A live recording has another number there, which stays. */
void noteSize(std::vector<Object>& header, std::uint64_t oldSize, std::uint64_t newSize) {
    const auto properties = std::ranges::find(header, filePropertiesGuid, &Object::guid);
    if (properties == header.end() || properties->content.size() < guidSize + 8) return;
    if (littleEndian64(readerOf(properties->content, subject), guidSize) == oldSize)
        properties->content.replace(guidSize, 8, littleEndian(newSize, 8));
}

void writeFront(SongFile& file, const Cover& cover) {
    const std::uint64_t oldEnd = headerEnd(file);
    std::vector<Object> header = headerOf(file);
    std::erase_if(header, [](const Object& object) { return object.guid == paddingGuid; });
    setFront(header, cover);
    const std::uint64_t used = fileHeader + render(header).size() + objectHeader;
    header.push_back({std::string(paddingGuid), std::string(paddingFor(used, oldEnd), '\0')});
    const std::uint64_t newEnd = used + header.back().content.size();
    noteSize(header, file.size(), file.size() - oldEnd + newEnd);
    const std::string reserved = file.read(fileHeader - 2, 2);
    file.replace(0, oldEnd,
                 std::string(headerGuid) + littleEndian(newEnd, 8) + littleEndian(header.size(), 4) +
                     reserved + render(header));
}

/** A recording of a live broadcast may have no length. */
bool isBroadcast(const std::vector<Object>& header) {
    constexpr std::size_t flagsAt = 64;
    const auto properties = std::ranges::find(header, filePropertiesGuid, &Object::guid);
    return properties == header.end() || properties->content.size() < flagsAt + 4 ||
           (readerOf(properties->content, subject).byte(flagsAt) & 1U) != 0;
}

/** The sound is in one data object after the header (Advanced Systems Format, section 5). */
void checkWhole(const SongFile& file) {
    constexpr std::uint64_t smallest = 50; // without sound; programs write 50 or 0 for an unknown length
    const std::uint64_t at = headerEnd(file);
    if (isBroadcast(headerOf(file))) return;
    const std::string data = file.readSome(at, objectHeader);
    const util::ByteReader in = readerOf(data, subject);
    if (!in.has(0, objectHeader)) in.truncated();
    const std::uint64_t size = littleEndian64(in, guidSize);
    if (in.matches(0, dataGuid) && size >= smallest && size > file.size() - at) in.truncated();
}

} // namespace

const Format asfFormat{tagsOf, bodyOf, checkWhole, writeFront, unlimitedRoom};

} // namespace tags
