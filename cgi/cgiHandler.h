// SPDX-License-Identifier: MIT
#pragma once

#include "app/CoverCache.h"
#include "app/SongInfo.h"
#include "cgi/FCgiIO.h"

#include <cgicc/Cgicc.h>

#include <string>

/** The process's cover cache. */
extern CoverCache cache;

/** The song that the form describes; logs it to standard error. */
SongInfo ExtractSongInfo(cgicc::Cgicc cgi);

/**
 * Writes header and body of an XML answer, transformed by the stylesheet that the field "xslt" names. A
 * stylesheet that gives no result is passed over; an exception becomes status 500 and never escapes.
 */
void SendResponse(cgicc::Cgicc cgi, cgicc::FCgiIO& out, std::string response);

// The services: each writes its whole answer, header and body. What they throw is the request loop's to
// answer.
int doService_Root(cgicc::FCgiIO& out);
int doService_Show(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_ShowEmpty(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Upload(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Suggest(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Update(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Query(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_GuessAlbum(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Tracks(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_Parameter(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_WriteTags(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
int doService_QuavionAPI(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
