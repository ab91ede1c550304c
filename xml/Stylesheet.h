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
 * A stylesheet in a sandbox: it reads nothing but the files below its own folder, writes nothing, never goes
 * to the network, and what it may spend on memory, stack and instructions is limited. What libxslt says goes
 * to the XmlMessages of the moment. Lives and dies on one thread, and there at most one at a time.
 */
class Stylesheet {
public:
    /** Reads and compiles the file `path` (canonical). @throws util::Exception */
    explicit Stylesheet(const std::filesystem::path& path);

    /**
     * The result, serialised as the stylesheet wants it; may be empty. White space in `source` is stripped
     * where the stylesheet asks for that.
     * @throws util::Exception
     */
    [[nodiscard]] std::string apply(xmlDoc& source);

private:
    std::string serialise(xmlDoc& result) const;

    XsltAllowance allowance_;
    StylesheetFiles files_;
    std::unique_ptr<xsltStylesheet, XmlDeleter<xsltFreeStylesheet>> compiled_;
};

} // namespace xml
