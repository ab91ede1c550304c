// SPDX-License-Identifier: MIT
#include "jobs/Tagger.h"
#include "tags/FittingPicture.h"

int main(int count, char** arguments) { return jobs::runTagger(count, arguments, tags::fittingPicture); }
