// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/XMLParser.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view acceptedTypes[] = {"image/jpeg", "image/jpg", "image/pjpeg", "image/png",
                                              "image/x-png"};

constexpr std::string_view testForm =
    R"(<form action="./upload"    method="POST" enctype="multipart/form-data">)"
    R"(Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>)"
    R"(Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>)"
    R"(Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>)"
    R"(xslt: <input size="80" name="xslt" type="text" value=""><br>)"
    R"(Upload File: <input size="80" name="image" type="file" accept="image/*"><br>)"
    R"(<input type="submit">)";

void writeFileBlock(std::ostream& xml, const cgicc::FormFile& file) {
    xml << "  <File>\n";
    xml << "    <MimeType>" << util::XMLParser::encode(file.getDataType()) << "</MimeType>\n";
    xml << "    <Name>" << util::XMLParser::encode(file.getFilename()) << "</Name>\n";
    xml << "    <Size>" << file.getDataLength() << "</Size>\n";
    xml << "  </File>\n";
}

int storeCover(SongInfo& si, const cgicc::FormFile& file) {
    cache.Lookup(si);
    {
        const std::string data = file.getData(); // a copy; freed right after the decoding
        si.setImage(data.data(), static_cast<unsigned int>(data.size()));
    }
    const int key = cache.Store(si, true);
    si.setImage(nullptr, 0);
    return key;
}

void upload(std::ostream& xml, SongInfo& si, const cgicc::FormFile& file) {
    writeFileBlock(xml, file);
    if (std::ranges::find(acceptedTypes, file.getDataType()) == std::end(acceptedTypes)) {
        frame::writeError(xml, -1, "Invalid Fileformat, accepting JPEG or PNG only. ");
    } else if (const int key = storeCover(si, file); key > 0) {
        xml << "  <Image>" << key << "</Image>\n";
        frame::writeError(xml, 0, "OK");
    } else {
        frame::writeError(xml, -3, "Unknown error on storing image to cache");
    }
    cache.ShowCurrentCover();
}

} // namespace

int doService_Upload(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    std::stringstream xmlResult;
    xmlResult << frame::xmlDeclaration;
    SongInfo si = ExtractSongInfo(cgi);
    xmlResult << "<Upload>\n";
    frame::writeSongBlock(xmlResult, si);
    const cgicc::file_iterator file = cgi.getFile("image");
    if (file == cgi.getFiles().end()) {
        frame::writeError(xmlResult, -2, "Parameter for file not set.");
    } else {
        upload(xmlResult, si, *file);
    }
    xmlResult << "</Upload>\n";
    SendResponse(cgi, out, xmlResult.str());
    return 0;
}
