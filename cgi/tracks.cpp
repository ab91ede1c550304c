// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/Exception.h"

#include <sstream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view testForm =
    R"(<form action="./tracks" method="POST" enctype="multipart/form-data">)"
    R"(Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>)"
    R"(Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>)"
    R"(xslt: <input size="80" name="xslt" type="text" value=""><br>)"
    R"(<input type="submit">)";

} // namespace

int doService_Tracks(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    try {
        SongInfo si = ExtractSongInfo(cgi);
        cache.Lookup(si);
        const std::string tracks = si.readAlbumSongs();
        SendResponse(cgi, out, tracks);
    } catch (const util::Exception& e) {
        std::stringstream xmlResult;
        xmlResult << "<Exception>" << std::endl;
        xmlResult << e.GetText();
        xmlResult << "</Exception>" << std::endl;
        SendResponse(cgi, out, xmlResult.str());
    }
    return 0;
}
