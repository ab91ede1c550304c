// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"

#include <string_view>

namespace {

constexpr std::string_view testForm =
    R"(<form action="./guessAlbum"    method="POST" enctype="multipart/form-data">)"
    R"(Artist: <input size="80" name="artist" type="text" value="Lowbeam"><br>)"
    R"(Title: <input size="80" name="title" type="text" value="Quiet Harbour"><br>)"
    R"(xslt: <input size="80" name="xslt" type="text" value=""><br>)"
    R"(<input type="submit">)";

} // namespace

int doService_GuessAlbum(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    SongInfo si = ExtractSongInfo(cgi);
    if (!si.isValid()) return 0; // sends no answer at all
    SendResponse(cgi, out, si.guessAlbumNames());
    return 0;
}
