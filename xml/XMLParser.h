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

/** Returns the folders that are searched, in order, for a stylesheet with a relative name. */
using StylesheetFolders = std::function<std::vector<std::filesystem::path>()>;

/**
 * Parses one XML document, transforms it by a stylesheet and evaluates XPath on it. It never uses the
 * network, expands no external entities and refuses documents with a DTD. Not copyable or movable. One thread
 * at a time; threads can use different objects at the same time.
 */
class XMLParser {
public:
    /** Pairs of prefix and namespace URI for an XPath expression. */
    using Namespaces = std::vector<std::pair<std::string, std::string>>;

    XMLParser();
    XMLParser(const XMLParser&) = delete;
    XMLParser& operator=(const XMLParser&) = delete;
    ~XMLParser();

    /**
     * Sets up libxml2 and libxslt for the whole process and keeps `folders`. Every transform calls `folders`
     * anew. Call setUp() before a second thread starts. Without this call there are no folders, but all
     * limits still apply.
     */
    static void setUp(StylesheetFolders folders);

    /** `value` as XML character data. Escapes "&", "<" and ">"; every other byte stays unchanged. */
    static std::string encode(std::string value);

    /**
     * Parses a document of up to 64 MiB in the encoding that it declares. Discards the previous document,
     * even on failure.
     * @return false when the document is not well-formed or is refused; the reason is logged to standard
     * error
     */
    bool parse(std::string document);

    /**
     * Applies a stylesheet to the parsed document.
     * @param stylesheet an absolute path, or a name below one of the stylesheet folders
     * @return the serialised result; empty on failure or without a result, and the reason is logged to
     * standard error
     */
    std::string transform(const char* stylesheet);

    /**
     * The string values of the nodes that `xpath` selects, in document order. An expression that gives a
     * number, string or boolean has one value.
     * @throws util::Exception when no document is held, or the expression is wrong or too expensive
     */
    [[nodiscard]] std::vector<std::string> select(const std::string& xpath,
                                                  const Namespaces& namespaces = {}) const;

private:
    xmlDocPtr document_ = nullptr;
};

} // namespace util
