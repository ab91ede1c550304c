// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/uri.h>
#include <libxml/xpath.h>

#include <memory>

namespace xml {

/** Releases an object of libxml2 or libxslt with the library's own function. */
template <auto Release>
struct XmlDeleter {
    template <typename T>
    void operator()(T* handle) const noexcept {
        Release(handle);
    }
};

/** Needed because xmlFree is a variable and so can't be a template argument. */
struct XmlTextDeleter {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
};

using XmlDoc = std::unique_ptr<xmlDoc, XmlDeleter<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, XmlTextDeleter>;
using XmlUri = std::unique_ptr<xmlURI, XmlDeleter<xmlFreeURI>>;
using XmlReader = std::unique_ptr<xmlParserCtxt, XmlDeleter<xmlFreeParserCtxt>>;
using XPathContext = std::unique_ptr<xmlXPathContext, XmlDeleter<xmlXPathFreeContext>>;
using XPathObject = std::unique_ptr<xmlXPathObject, XmlDeleter<xmlXPathFreeObject>>;

} // namespace xml
