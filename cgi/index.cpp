// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"

#include <cgicc/HTTPContentHeader.h>

namespace {

constexpr const char* lines[] = {
    R"(<html>)",
    R"(  <head>)",
    R"(  <title>Quavion Coverartwork Services</title>)",
    R"(  </head>)",
    R"(  <body>)",
    R"(    <h1>Quavion Coverartwork Services</h1>)",
    R"(    <ul>)",
    R"(      <li><a href="./">This Site</a></li>)",
    R"(      <li><a href="./show">Show Cover</a></li>)",
    R"(      <li><a href="./upload">Upload Cover</a></li>)",
    R"(      <li><a href="./update">UpdateCover</a></li>)",
    R"(      <li><a href="./query">Query CoverCache</a></li>)",
    R"(      <li><a href="./suggest">Suggest Coverinformation</a></li>)",
    R"(      <li><a href="./guessAlbum">Guess Album</a></li>)",
    R"(      <li><a href="./showEmpty">Show Cacheentries without image</a></li>)",
    R"(      <li><a href="./tracks">Read Albumtracks from quavion</a></li>)",
    R"(      <li><a href="./parameter">Show parameter values</a></li>)",
    R"(      <li><a href="./quavionAPI">RAW Access to Quavion XML API</a></li>)",
    R"(    </ul>)",
    R"(  </body>)",
    R"(</html>)",
};

} // namespace

int doService_Root(cgicc::FCgiIO& out) {
    out << cgicc::HTTPContentHeader("text/html") << std::endl;
    for (const char* line : lines)
        out << line << std::endl;
    return 1;
}
