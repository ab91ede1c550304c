// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/Convert.h"

#include <sstream>

namespace {

/** The field "cacheID"; 0 without that field. @throws util::BadConversion when it is not a number */
int cacheId(const cgicc::Cgicc& cgi) {
    const cgicc::const_form_iterator field = cgi.getElement("cacheID");
    return field == cgi.getElements().end() ? 0 : util::convertTo<int>(field->getValue(), true);
}

void queueJobs(std::ostream& xml, const cgicc::Cgicc& cgi, int key) {
    for (const cgicc::FormEntry& entry : cgi.getElements()) {
        if (entry.getName() != "file") continue;
        const int jobId = cache.WriteCoverTag(key, entry.getValue(), true);
        xml << "    <Job id=\"" << jobId << "\"/>\n";
    }
    cache.CreateDeleteJob(key); // after the write jobs, even if there are none
}

void writeTags(std::ostream& xml, const cgicc::Cgicc& cgi) {
    const int key = cacheId(cgi);
    xml << "<WriteCoverTags>\n";
    if (key > 0) {
        queueJobs(xml, cgi, key);
    } else {
        frame::writeError(xml, -1, "Invalid CacheId given.");
    }
    xml << "</WriteCoverTags>\n";
}

} // namespace

int doService_WriteTags(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    std::stringstream xmlResult;
    xmlResult << frame::xmlDeclaration;
    if (frame::isPost(cgi)) {
        writeTags(xmlResult, cgi);
    } else {
        xmlResult << "<NoData />\n";
    }
    SendResponse(cgi, out, xmlResult.str());
    return 0;
}
