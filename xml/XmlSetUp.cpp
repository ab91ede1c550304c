// SPDX-License-Identifier: MIT
#include "xml/XmlSetUp.h"

#include "xml/StylesheetFiles.h"
#include "xml/XmlMessages.h"
#include "xml/XsltAllowance.h"

#include <libxml/parser.h>
#include <libxslt/documents.h>
#include <libxslt/security.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <exception>
#include <mutex>
#include <new>

namespace xml {

namespace {

xmlParserInputPtr refuseEntity(const char*, const char*, xmlParserCtxtPtr) noexcept { return nullptr; }

/** The StylesheetFiles of the transform that libxslt loads a file for; null if xml::Stylesheet set none. */
StylesheetFiles* filesOf(void* context, xsltLoadType type) noexcept {
    if (context == nullptr) return nullptr;
    if (type == XSLT_LOAD_DOCUMENT) {
        return static_cast<StylesheetFiles*>(static_cast<xsltTransformContextPtr>(context)->_private);
    }
    auto* style = static_cast<xsltStylesheetPtr>(context);
    while (style->parent != nullptr)
        style = style->parent;
    return static_cast<StylesheetFiles*>(style->_private);
}

/**
 * Makes a refused file an error of the transform. libxslt would otherwise go on with an empty document and
 * give a wrong result.
 */
void report(const xmlChar* uri, const char* reason, void* context, xsltLoadType type) noexcept {
    auto* transform = type == XSLT_LOAD_DOCUMENT ? static_cast<xsltTransformContextPtr>(context) : nullptr;
    auto* style = type == XSLT_LOAD_DOCUMENT ? nullptr : static_cast<xsltStylesheetPtr>(context);
    xsltTransformError(transform, style, nullptr, "%s: %s\n", reinterpret_cast<const char*>(uri), reason);
}

xmlDocPtr load(const xmlChar* uri, xmlDictPtr dict, int, void* context, xsltLoadType type) noexcept {
    try {
        StylesheetFiles* files = filesOf(context, type);
        return files == nullptr ? nullptr : files->read(uri, dict).release();
    } catch (const std::exception& failure) {
        report(uri, failure.what(), context, type);
        return nullptr;
    }
}

/** Forbids everything except reading files: load() checks that, because it knows the folder. */
void forbidTheRest() {
    xsltSecurityPrefsPtr preferences = xsltNewSecurityPrefs(); // never freed: libxslt keeps using it
    if (preferences == nullptr) throw std::bad_alloc();
    for (const xsltSecurityOption option : {XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY,
                                            XSLT_SECPREF_READ_NETWORK, XSLT_SECPREF_WRITE_NETWORK}) {
        xsltSetSecurityPrefs(preferences, option, xsltSecurityForbid);
    }
    xsltSetDefaultSecurityPrefs(preferences);
}

} // namespace

void setUpXmlLibraries() {
    // One flag per process, because the libraries keep these settings per process.
    static std::once_flag once;
    std::call_once(once, [] {
        XsltAllowance::install();
        xmlInitParser();
        xmlSetExternalEntityLoader(refuseEntity);
        xsltInit();
        xsltSetLoaderFunc(load);
        forbidTheRest();
        XmlMessages::joinXslt();
    });
}

} // namespace xml
