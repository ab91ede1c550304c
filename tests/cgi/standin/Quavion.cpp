// SPDX-License-Identifier: MIT
#include "app/Quavion.h"

#include "tests/cgi/standin/Recorder.h"

struct Quavion::Impl {};

Quavion::Quavion() = default;

Quavion::~Quavion() = default;

Quavion* Quavion::Instance() {
    standin::called("Quavion::Instance");
    static Quavion instance;
    return &instance;
}

std::string Quavion::Send(std::string command) {
    return standin::called("Quavion::Send", standin::quoted(command)).value_or("<PlayerState/>");
}
