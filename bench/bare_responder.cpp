// SPDX-License-Identifier: MIT
// The smallest possible responder for "show?key=N", as a baseline for the real one. It answers from memory
// with the unchanged bytes of N.png in the folder STATE_DIRECTORY.
#include <fcgiapp.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using Pictures = std::map<int, std::string>;

Pictures readPictures() {
    const char* folder = std::getenv("STATE_DIRECTORY"); // NOLINT(concurrency-mt-unsafe): there is one thread
    if (folder == nullptr) throw std::runtime_error("STATE_DIRECTORY is not set");
    Pictures pictures;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        pictures[std::stoi(entry.path().stem())] = {std::istreambuf_iterator<char>(file), {}};
    }
    return pictures;
}

/** The number after "key="; 0 if there is none. */
int keyOf(std::string_view query) {
    static constexpr std::string_view name = "key=";
    const auto found = query.find(name);
    if (found == std::string_view::npos) return 0;
    int key = 0;
    std::from_chars(query.data() + found + name.size(), query.data() + query.size(), key);
    return key;
}

void answer(const FCGX_Request& request, const Pictures& pictures) {
    const char* query = FCGX_GetParam("QUERY_STRING", request.envp);
    const auto picture = pictures.find(keyOf(query == nullptr ? "" : query));
    if (picture != pictures.end()) {
        FCGX_PutS("Content-Type: image/png\n\n", request.out);
        FCGX_PutStr(picture->second.data(), static_cast<int>(picture->second.size()), request.out);
    }
    FCGX_PutS("Status: 400 Not Found\n\n\n", request.out);
}

void serve() {
    const Pictures pictures = readPictures();
    FCGX_Request request;
    FCGX_Init();
    FCGX_InitRequest(&request, 0, 0);
    while (FCGX_Accept_r(&request) == 0) {
        answer(request, pictures);
        FCGX_Finish_r(&request);
    }
}

} // namespace

int main() {
    try {
        serve();
        return EXIT_SUCCESS;
    } catch (const std::exception& e) {
        std::cerr << "bare_responder: " << e.what() << '\n';
        return EXIT_FAILURE;
    }
}
