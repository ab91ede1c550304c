// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/XMLParser.h"

#include <sstream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view testForm =
    R"(<form action="./update"    method="POST" enctype="multipart/form-data">)"
    R"(Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>)"
    R"(Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>)"
    R"(Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>)"
    R"(url: <input size="80" name="url" type="text" value="http://covers.example/paper-lanterns.jpg"><br>)"
    R"(xslt: <input size="80" name="xslt" type="text" value=""><br>)"
    R"(<input  type="submit">)";

void storeLoaded(std::ostream& xml, SongInfo& si) {
    const int key = cache.Store(si, true);
    si.setImage(nullptr, 0);
    if (key > 0) {
        xml << "  <Image>" << key << "</Image>\n";
        frame::writeError(xml, 0, "OK");
    } else {
        frame::writeError(xml, -4, "Unknown error on storing image to cache");
    }
}

void update(std::ostream& xml, SongInfo& si) {
    cache.Lookup(si); // may add a URL if the form gave none
    if (si.getImageUrl().empty()) {
        frame::writeError(xml, -6, "Parameter for image url no set.");
    } else if (!si.loadImage()) {
        // writeError() doesn't escape its text, so this URL goes out unescaped, unlike the one in <URL>.
        frame::writeError(xml, -5, "Cannot load image from " + si.getImageUrl());
    } else {
        storeLoaded(xml, si);
    }
}

} // namespace

int doService_Update(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    SongInfo si = ExtractSongInfo(cgi);
    if (!si.isValid()) return 0; // sends no answer at all
    std::stringstream xmlResult;
    xmlResult << frame::xmlDeclaration << "<Update>\n";
    frame::writeSongBlock(xmlResult, si);
    xmlResult << "  <URL>" << util::XMLParser::encode(si.getImageUrl()) << "</URL>\n";
    update(xmlResult, si);
    xmlResult << "</Update>\n";
    SendResponse(cgi, out, xmlResult.str());
    cache.ShowCurrentCover(); // after the answer, even after an error
    return 0;
}
