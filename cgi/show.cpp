// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/Convert.h"
#include "util/Image.h"

#include <cgicc/HTTPContentHeader.h>
#include <cgicc/HTTPStatusHeader.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

struct FreeDeleter {
    // getRawPNG() returns a block from the C allocator.
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    void operator()(void* block) const noexcept { std::free(block); }
};

constexpr std::string_view testForm =
    R"(<form action="./show"  method="GET">)"
    R"(Show Cover from CacheId: <input size="80" name="key" type="text" value="1"><br>)"
    R"(<input type="submit">)";

void writePng(util::Image& image, cgicc::FCgiIO& out) {
    void* data = nullptr;
    std::size_t size = 0;
    const bool encoded = image.getRawPNG(&data, size);
    const std::unique_ptr<void, FreeDeleter> owner(data);
    if (!encoded) return;
    out << cgicc::HTTPContentHeader("image/png");
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
}

} // namespace

int doService_Show(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    util::Image image;
    const cgicc::form_iterator field = cgi.getElement("key");
    if (field == cgi.getElements().end()) {
        frame::writeTestForm(out, testForm);
        return 0;
    }
    const int key = util::convertTo<int>(field->getValue(), true);
    if (cache.GetImage(key, &image) && image.isValid()) writePng(image, out);
    // Not an "else": this status ends every answer to a key, even after an image.
    out << cgicc::HTTPStatusHeader(400, "Not Found") << std::endl;
    return 0;
}

int doService_ShowEmpty(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    SendResponse(cgi, out, cache.ShowEmpty());
    return 0;
}
