// SPDX-License-Identifier: MIT
#pragma once

#include "xml/StylesheetFiles.h"
#include "xml/XmlHandles.h"
#include "xml/XsltAllowance.h"

#include <libxslt/xsltInternals.h>

#include <filesystem>
#include <memory>
#include <string>

namespace xml {

/**
 * A stylesheet in a sandbox. It reads only files below its own folder, writes nothing and never uses the
 * network. Its memory, stack and number of instructions are limited. libxslt's messages go to the thread's
 * current XmlMessages. Create and destroy it on the same thread; a thread has at most one at a time.
 */
class Stylesheet {
public:
    /** Reads and compiles the stylesheet at the canonical `path`. @throws util::Exception when that fails */
    explicit Stylesheet(const std::filesystem::path& path);

    /**
     * The result, serialised as the stylesheet's xsl:output says; may be empty. Changes `source`: strips its
     * white space if the stylesheet asks for that.
     * @throws util::Exception when the stylesheet fails or exceeds a limit
     */
    [[nodiscard]] std::string apply(xmlDoc& source);

private:
    std::string serialise(xmlDoc& result) const;

    XsltAllowance allowance_;
    StylesheetFiles files_;
    std::unique_ptr<xsltStylesheet, XmlDeleter<xsltFreeStylesheet>> compiled_;
};

} // namespace xml
