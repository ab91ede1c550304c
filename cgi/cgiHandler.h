// SPDX-License-Identifier: MIT
#pragma once

#include "app/CoverCache.h"
#include "app/SongInfo.h"
#include "cgi/FCgiIO.h"

#include <cgicc/Cgicc.h>

#include <string>

/** The process's only cover cache. */
extern CoverCache cache;

/** Makes a song from the form's fields and logs it to standard error. */
SongInfo ExtractSongInfo(cgicc::Cgicc cgi);

/**
 * Writes the header and body of an XML answer. If the form has a field "xslt", that stylesheet transforms
 * `response` first; if it gives no result, `response` is sent unchanged. An exception becomes an answer
 * with status 500 and doesn't escape.
 */
void SendResponse(cgicc::Cgicc cgi, cgicc::FCgiIO& out, std::string response);

// The services. Each writes its whole answer, header and body. If one throws, the request loop writes an
// answer for the exception.
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
