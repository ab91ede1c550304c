// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"

#include <string>
#include <string_view>

namespace {

constexpr std::string_view testForm =
    R"(<form action="./query"    method="POST" enctype="multipart/form-data">)"
    R"(Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>)"
    R"(Album: <input size="80" name="album" type="text" value="Paper Lanterns"><br>)"
    R"(Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>)"
    R"(xslt: <input size="80" name="xslt" type="text" value=""><br>)"
    R"(<input  type="submit">)";

} // namespace

int doService_Query(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    const SongInfo si = ExtractSongInfo(cgi);
    const std::string artist = si.getArtist();
    const std::string album = si.getAlbum();
    const std::string title = si.getTitle();
    SendResponse(cgi, out, cache.Query(artist, album, title));
    return 0;
}
