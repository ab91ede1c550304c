// SPDX-License-Identifier: MIT
#include "app/Quavion.h"
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"

#include <sstream>
#include <string_view>

namespace {

// The appliance replies in UTF-8, so frame::xmlDeclaration doesn't fit here.
constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

constexpr std::string_view testForm =
    R"(<form action="./quavionAPI" method="POST" enctype="multipart/form-data">)"
    R"(XML-Query: <textarea cols="60" rows="10" name="xmlString" > &lt;GetPlayerState /&gt;</textarea><br>)"
    R"(<input type="submit">)";

} // namespace

int doService_QuavionAPI(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (!frame::isPost(cgi)) {
        frame::writeTestForm(out, testForm);
        return 1;
    }
    std::stringstream xmlResult;
    xmlResult << declaration;
    const cgicc::const_form_iterator command = cgi.getElement("xmlString");
    if (command != cgi.getElements().end()) xmlResult << Quavion::Instance()->Send(command->getValue());
    SendResponse(cgi, out, xmlResult.str());
    return 1;
}
