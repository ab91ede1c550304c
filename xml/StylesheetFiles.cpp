// SPDX-License-Identifier: MIT
#include "xml/StylesheetFiles.h"

#include "util/Exception.h"
#include "util/File.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace xml {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxFileBytes = std::size_t{4} * 1024 * 1024;
constexpr std::size_t maxBytesInAll = 4 * maxFileBytes;
// A stylesheet can read one file under endless names ("a?1", "a?2"), so the number of reads is limited, too.
constexpr std::size_t maxFiles = 64;

// XML_PARSE_NOENT replaces the entities that a stylesheet declares. libxml2 limits how far they expand.
constexpr int parseOptions = XML_PARSE_NOENT | XML_PARSE_NOCDATA | XML_PARSE_NONET;

bool isBelow(const fs::path& path, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

/** A colon before the first slash marks an address. */
bool isAddress(std::string_view name) { return name.find(':') < name.find('/'); }

std::string toUri(const fs::path& path) {
    const XmlText uri(xmlURIEscapeStr(reinterpret_cast<const xmlChar*>(path.c_str()),
                                      reinterpret_cast<const xmlChar*>("/")));
    if (!uri) throw std::bad_alloc();
    return reinterpret_cast<const char*>(uri.get());
}

fs::path toPath(const xmlChar* text) {
    const XmlUri uri(xmlParseURI(reinterpret_cast<const char*>(text)));
    const bool local = uri && uri->path != nullptr && uri->server == nullptr &&
                       (uri->scheme == nullptr || std::strcmp(uri->scheme, "file") == 0);
    if (!local) throw util::Exception("Only files are read, and this is none.");
    return uri->path;
}

} // namespace

fs::path findStylesheet(const char* name, const std::vector<fs::path>& folders) {
    const std::string_view text = name == nullptr ? "" : name;
    if (text.empty() || text.size() >= PATH_MAX) throw util::Exception("This is no file name.");
    if (isAddress(text)) throw util::Exception("Addresses are not fetched, only files are read.");
    std::error_code error;
    if (const fs::path path(text); path.is_absolute()) {
        fs::path found = fs::canonical(path, error);
        if (error) throw util::Exception("There is no such file.");
        return found;
    }
    for (const fs::path& folder : folders) {
        const fs::path base = fs::canonical(folder, error);
        if (error) continue;
        fs::path found = fs::canonical(base / text, error);
        if (!error && isBelow(found, base)) return found;
    }
    throw util::Exception("There is no such file in the stylesheet folders.");
}

StylesheetFiles::StylesheetFiles(fs::path stylesheet)
    : stylesheet_(std::move(stylesheet)), filesLeft_(maxFiles), bytesLeft_(maxBytesInAll) {}

XmlDoc StylesheetFiles::readStylesheet() { return parse(stylesheet_, toUri(stylesheet_).c_str(), nullptr); }

XmlDoc StylesheetFiles::read(const xmlChar* uri, xmlDictPtr dict) {
    std::error_code error;
    const fs::path path = fs::canonical(toPath(uri), error);
    if (error || !isBelow(path, stylesheet_.parent_path())) {
        throw util::Exception("There is no such file in the stylesheet's own folder.");
    }
    return parse(path, reinterpret_cast<const char*>(uri), dict);
}

XmlDoc StylesheetFiles::parse(const fs::path& path, const char* uri, xmlDictPtr dict) {
    if (filesLeft_ == 0) throw util::Exception("The stylesheet reads too many files.");
    --filesLeft_;
    const util::Buffer content = util::readFile(path.c_str(), maxFileBytes);
    if (content.size() > bytesLeft_)
        throw util::Exception("The files that the stylesheet reads are too large.");
    bytesLeft_ -= content.size();

    const XmlReader reader(xmlNewParserCtxt());
    if (!reader) throw std::bad_alloc();
    if (dict != nullptr && xmlDictReference(dict) == 0) {
        xmlDictFree(reader->dict);
        reader->dict = dict;
    }
    XmlDoc document(xmlCtxtReadMemory(reader.get(), reinterpret_cast<const char*>(content.data()),
                                      static_cast<int>(content.size()), uri, nullptr, parseOptions));
    if (!document) throw util::Exception("The file is no well-formed XML.");
    return document;
}

} // namespace xml
