// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <filesystem>
#include <vector>

namespace xml {

/**
 * Finds a stylesheet's file. `name` is an absolute path or relative to one of `folders`, which are searched
 * in order. A relative name can't leave its folder, neither by ".." nor by a symbolic link.
 * @return a canonical path
 * @throws util::Exception when there is no such file or `name` is not a file name
 */
[[nodiscard]] std::filesystem::path findStylesheet(const char* name,
                                                   const std::vector<std::filesystem::path>& folders);

/**
 * Reads the files of one transform: the stylesheet itself, and the files that it imports, includes or loads
 * with document(). Reads only files below the stylesheet's own folder. The number and the total size of the
 * files are limited. One thread.
 */
class StylesheetFiles {
public:
    /** @param stylesheet a canonical path */
    explicit StylesheetFiles(std::filesystem::path stylesheet);

    /** Reads the stylesheet itself. @throws util::Exception as read() does */
    [[nodiscard]] XmlDoc readStylesheet();

    /**
     * Reads a file that the stylesheet refers to.
     * @param uri the reference as libxslt has resolved it
     * @param dict a dictionary that the document shares, as libxslt requires; may be null
     * @throws util::Exception when the file must not be read, can't be read, or is not well-formed
     */
    [[nodiscard]] XmlDoc read(const xmlChar* uri, xmlDictPtr dict);

private:
    XmlDoc parse(const std::filesystem::path& path, const char* uri, xmlDictPtr dict);

    std::filesystem::path stylesheet_;
    std::size_t filesLeft_;
    std::size_t bytesLeft_;
};

} // namespace xml
