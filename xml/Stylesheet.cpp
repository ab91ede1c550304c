// SPDX-License-Identifier: MIT
#include "xml/Stylesheet.h"

#include "util/Exception.h"
#include "xml/XPathText.h"

#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>

#include <new>

namespace xml {

namespace {

constexpr unsigned long maxOperations = 5'000'000;
constexpr int maxDepth = 1000; // nested templates and instructions: each level costs stack

using Transform = std::unique_ptr<xsltTransformContext, XmlDeleter<xsltFreeTransformContext>>;

} // namespace

Stylesheet::Stylesheet(const std::filesystem::path& path) : files_(path), compiled_(xsltNewStylesheet()) {
    if (!compiled_) throw std::bad_alloc();
    compiled_->_private = &files_;
    XmlDoc document = files_.readStylesheet();
    if (xsltParseStylesheetUser(compiled_.get(), document.get()) != 0) {
        compiled_.reset(); // before `document`, because it points into that
        throw util::Exception("The stylesheet can't be compiled.");
    }
    (void)document.release(); // the compiled stylesheet owns it now
    if (allowance_.exceeded()) throw util::Exception("The stylesheet is too large.");
}

std::string Stylesheet::apply(xmlDoc& source) {
    const Transform transform(xsltNewTransformContext(compiled_.get(), &source));
    if (!transform) throw std::bad_alloc();
    transform->_private = &files_;
    transform->maxTemplateDepth = maxDepth;
    transform->opLimit = maxOperations;
    transform->xpathCtxt->opLimit = maxOperations;
    registerLinearTextFunctions(*transform->xpathCtxt);

    allowance_.watch(transform.get());
    const XmlDoc result(
        xsltApplyStylesheetUser(compiled_.get(), &source, nullptr, nullptr, nullptr, transform.get()));
    allowance_.watch(nullptr);
    std::string text;
    if (result) text = serialise(*result);
    if (allowance_.exceeded())
        throw util::Exception("The stylesheet needs too much memory, or its tree is too deep.");
    if (!result) throw util::Exception("The stylesheet failed.");
    return text;
}

std::string Stylesheet::serialise(xmlDoc& result) const {
    xmlChar* text = nullptr;
    int length = 0;
    const int status = xsltSaveResultToString(&text, &length, &result, compiled_.get());
    const XmlText owner(text);
    if (status != 0) throw util::Exception("The result can't be written.");
    if (text == nullptr || length <= 0) return {};
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

} // namespace xml
