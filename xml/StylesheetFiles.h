// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <filesystem>
#include <vector>

namespace xml {

/**
 * The file that a stylesheet's name stands for: an absolute path, or a name below one of the folders, first
 * one first. A name below a folder can't lead out of it, neither by ".." nor by a symbolic link.
 * @return a canonical path
 * @throws util::Exception when there is no such file or the name is no file name
 */
[[nodiscard]] std::filesystem::path findStylesheet(const char* name,
                                                   const std::vector<std::filesystem::path>& folders);

/**
 * The files that one transform reads: the stylesheet and what it imports, includes and asks for with
 * document(). All of them lie below the stylesheet's own folder, and their number and size are limited. One
 * thread.
 */
class StylesheetFiles {
public:
    /** @param stylesheet a canonical path */
    explicit StylesheetFiles(std::filesystem::path stylesheet);

    /** The stylesheet itself. @throws util::Exception */
    [[nodiscard]] XmlDoc readStylesheet();

    /**
     * A file by the URI that libxslt made of the reference to it. Its names go to `dict`, as libxslt wants
     * them to.
     * @throws util::Exception when it must not be read, can't be read, or is not well-formed
     */
    [[nodiscard]] XmlDoc read(const xmlChar* uri, xmlDictPtr dict);

private:
    XmlDoc parse(const std::filesystem::path& path, const char* uri, xmlDictPtr dict);

    std::filesystem::path stylesheet_;
    std::size_t filesLeft_;
    std::size_t bytesLeft_;
};

} // namespace xml
