// SPDX-License-Identifier: MIT
#include "sources/Names.h"

#include "sources/Fields.h"
#include "text/Fold.h"
#include "text/StopWords.h"

namespace sources {
namespace {

/** No name is longer than that, and services refuse longer questions. */
bool canBeSought(const std::string& name) {
    return name.size() <= maxNameBytes && !text::folded(name).empty();
}

std::vector<Names> spellings(const std::string& artist, const std::string& work) {
    if (!canBeSought(work)) return {};
    const Names names{canBeSought(artist) ? artist : "", work};
    const Names purged{text::withoutStopWords(names.artist), text::withoutStopWords(names.work)};
    if (purged == names) return {names};
    return {names, purged};
}

} // namespace

std::vector<Names> albumNames(const matching::Question& question) {
    return spellings(question.sampler ? "" : question.artist, question.album);
}

std::vector<Names> titleNames(const matching::Question& question) {
    return spellings(question.artist, question.title);
}

std::string words(const Names& names) {
    return names.artist.empty() ? names.work : names.artist + ' ' + names.work;
}

} // namespace sources
