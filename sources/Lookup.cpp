// SPDX-License-Identifier: MIT
#include "sources/Lookup.h"

#include "matching/Wanted.h"
#include "sources/Conversation.h"

#include <algorithm>
#include <deque>
#include <set>
#include <utility>

namespace sources {
namespace {

/** The number of albums to ask for pictures. More would take longer than a user waits. */
constexpr std::size_t maxPicturedAlbums = 5;

/** The limit per source: a few seconds at the pace of MusicBrainz. */
constexpr std::size_t maxRequests = 7;

/** A score that is good enough to end the search. */
constexpr double goodScore = 0.9;

/**
 * First the names without the noise of tags, then the album by any artist, because the artist is often
 * misspelt. No request twice.
 */
std::vector<Request> requestsOf(const Source& source, const matching::Question& question) {
    const matching::Wanted tidy = matching::wantedBy(question);
    std::vector<Request> requests;
    const auto add = [&](const matching::Question& asked, std::size_t most) {
        for (Request& request : source.requests(asked))
            if (requests.size() < most &&
                std::ranges::find(requests, request.url, &Request::url) == requests.end())
                requests.push_back(std::move(request));
    };
    const bool albumToo = !tidy.album.empty();
    add(tidy, albumToo ? maxRequests - 2 : maxRequests);
    if (albumToo) add({.artist = {}, .album = tidy.album, .title = {}, .sampler = tidy.sampler}, maxRequests);
    return requests;
}

/** One look-up with all its sources. */
class Run {
public:
    Run(store::CoverStore& store, const Sources& sources, matching::Judge& judge,
        const LookupSettings& settings)
        : judge_(judge), conversation_(store, settings) {
        inquiries_.reserve(sources.albums.size()); // never grows later: callbacks refer to its elements
        for (const auto& source : sources.albums)
            inquiries_.push_back(
                {*source, requestsOf(*source, judge.question()), {.name = std::string(source->name())}});
        for (const auto& source : sources.pictures)
            pictureInquiries_.push_back({*source, {.name = std::string(source->name())}});
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() = default;

    [[nodiscard]] LookupResult result() {
        for (Inquiry& inquiry : inquiries_)
            waiting_.push_back(&inquiry);
        goOn();
        conversation_.run();
        LookupResult result;
        for (Inquiry& inquiry : inquiries_)
            add(inquiry, result);
        for (PictureInquiry& inquiry : pictureInquiries_)
            add(inquiry, result);
        return result;
    }

private:
    /** The requests to one source. Each is sent after the answer to the one before. */
    struct Inquiry {
        const Source& source;
        std::vector<Request> requests;
        SourceReport report;
        std::vector<matching::Candidate> candidates;
        std::size_t next = 0;
    };

    struct PictureInquiry {
        const PictureSource& source;
        SourceReport report;
        std::vector<matching::Candidate> candidates;
    };

    static void add(auto& inquiry, LookupResult& result) {
        std::ranges::move(inquiry.candidates, std::back_inserter(result.candidates));
        result.reports.push_back(std::move(inquiry.report));
    }

    /**
     * Sends the next request of each waiting source. Sources take turns: kept answers come at once, and
     * without turns one source would get its second request before another got its first. After a good match
     * it sends first requests only, and still reads kept answers.
     */
    void goOn() {
        if (std::exchange(goingOn_, true)) return; // ask() may call take(), which calls this again
        while (!waiting_.empty()) {
            Inquiry& inquiry = *waiting_.front();
            waiting_.pop_front();
            if (inquiry.next == inquiry.requests.size()) continue;
            const Request& request = inquiry.requests[inquiry.next++];
            if (foundGood_ && inquiry.next > 1 && !conversation_.isKept(inquiry.source, request)) continue;
            conversation_.ask(inquiry.source, request, [this, &inquiry](const Conversation::Answer& answer) {
                take(inquiry, answer);
            });
        }
        goingOn_ = false;
    }

    void take(Inquiry& inquiry, const Conversation::Answer& answer) {
        note(inquiry.report, answer);
        std::vector<matching::Ranked> fitting = judge_.rank(answer.candidates);
        std::erase_if(fitting, [](const matching::Ranked& ranked) {
            return ranked.judgement.score < matching::leastScore;
        });
        for (matching::Ranked& ranked : fitting) {
            ranked.candidate.source = inquiry.source.name();
            inquiry.candidates.push_back(ranked.candidate);
            noteGood(ranked);
        }
        for (const matching::Candidate& album : bestAlbums(fitting))
            for (PictureInquiry& pictures : pictureInquiries_)
                askForPicture(pictures, album);
        if (fitting.empty() && answer.failure.empty()) waiting_.push_back(&inquiry);
        goOn();
    }

    /** If picture sources are asked, an album without a picture is not good enough. */
    void noteGood(const matching::Ranked& ranked) {
        const bool complete = pictureInquiries_.empty() || !ranked.candidate.pictureUrl.empty();
        if (complete && ranked.judgement.score >= goodScore) foundGood_ = true;
    }

    void askForPicture(PictureInquiry& inquiry, const matching::Candidate& album) {
        const auto request = inquiry.source.request(album);
        if (!request || !asked_.insert(request->url).second) return;
        conversation_.ask(
            inquiry.source, *request, [this, &inquiry, album](const Conversation::Answer& answer) {
                note(inquiry.report, answer);
                for (const matching::Candidate& picture : answer.candidates) {
                    inquiry.candidates.push_back(pictured(album, picture, inquiry.source.name()));
                    noteGood({inquiry.candidates.back(), judge_.judge(inquiry.candidates.back()), {}});
                }
            });
    }

    static matching::Candidate pictured(matching::Candidate album, const matching::Candidate& picture,
                                        std::string_view source) {
        album.source = source;
        album.pictureUrl = picture.pictureUrl;
        album.thumbnailUrl = picture.thumbnailUrl;
        album.widthPixels = picture.widthPixels;
        album.heightPixels = picture.heightPixels;
        return album;
    }

    /** The best albums, one per release group. */
    static std::vector<matching::Candidate> bestAlbums(const std::vector<matching::Ranked>& ranked) {
        std::vector<matching::Candidate> best;
        std::set<std::string> groups;
        for (const matching::Ranked& one : ranked) {
            if (best.size() == maxPicturedAlbums) break;
            if (groups.insert(one.candidate.groupId).second) best.push_back(one.candidate);
        }
        return best;
    }

    static void note(SourceReport& report, const Conversation::Answer& answer) {
        report.found += answer.candidates.size();
        if (report.state == SourceState::Failed) return;
        if (!answer.failure.empty()) {
            report.state = SourceState::Failed;
            report.reason = answer.failure;
        } else if (!answer.kept) {
            report.state = SourceState::Answered;
        } else if (report.state == SourceState::Idle) {
            report.state = SourceState::Kept;
        }
    }

    std::deque<Inquiry*> waiting_; // for their next request
    bool goingOn_ = false;
    bool foundGood_ = false;
    matching::Judge& judge_;
    Conversation conversation_;
    std::vector<Inquiry> inquiries_;
    std::vector<PictureInquiry> pictureInquiries_;
    std::set<std::string> asked_; // URLs of picture requests
};

} // namespace

LookupResult lookUp(store::CoverStore& store, const Sources& sources, matching::Judge& judge,
                    const LookupSettings& settings) {
    return Run(store, sources, judge, settings).result();
}

} // namespace sources
