// SPDX-License-Identifier: MIT
#include "tagger/Tagger.h"
#include "tags/FittingPicture.h"

int main(int count, char** arguments) { return tagger::runTagger(count, arguments, tags::fittingPicture); }
