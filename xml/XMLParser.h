// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <string>
#include <utility>
#include <vector>

namespace util {

/** The folders in which a stylesheet given by a relative name is looked for, first one first. */
using StylesheetFolders = std::function<std::vector<std::filesystem::path>()>;

/**
 * One XML document: parsed, transformed by a stylesheet, asked with XPath. It never touches the network,
 * expands no external entities and refuses documents with a DTD. Neither copied nor moved; one thread at a
 * time, each with its own object.
 */
class XMLParser {
public:
    /** Prefix and namespace URI, to be used in an XPath expression. */
    using Namespaces = std::vector<std::pair<std::string, std::string>>;

    XMLParser();
    XMLParser(const XMLParser&) = delete;
    XMLParser& operator=(const XMLParser&) = delete;
    ~XMLParser();

    /**
     * Sets up libxml2 and libxslt for the whole process and remembers `folders`, which every transform asks;
     * to be called before there is a second thread. Without it there are no folders, and all limits hold
     * nonetheless.
     */
    static void setUp(StylesheetFolders folders);

    /** `value` as XML character data: ampersand and angle brackets escaped, every other byte as it is. */
    static std::string encode(std::string value);

    /**
     * Parses one whole document of up to 64 MiB in the encoding that it declares, in the place of the one
     * before.
     * @return false when it is not well-formed or refused, with a line on standard error that says why
     */
    bool parse(std::string document);

    /**
     * Applies a stylesheet to the parsed document.
     * @param stylesheet an absolute path, or a name below one of the stylesheet folders
     * @return the serialised result; empty when there is none, with a line on standard error that says why
     */
    std::string transform(const char* stylesheet);

    /**
     * The string values of the nodes that `xpath` selects, in document order; of a number, string or boolean
     * its one value.
     * @throws util::Exception when no document is held or the expression is wrong
     */
    [[nodiscard]] std::vector<std::string> select(const std::string& xpath,
                                                  const Namespaces& namespaces = {}) const;

private:
    xmlDocPtr document_ = nullptr;
};

} // namespace util
