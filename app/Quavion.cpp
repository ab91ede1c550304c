// SPDX-License-Identifier: MIT
#include "app/Quavion.h"

#include "app/DeviceLink.h"
#include "app/OpenStore.h"
#include "text/Utf8.h"

struct Quavion::Impl {
    app::DeviceLink link;
};

Quavion::Quavion() : impl_(std::make_unique<Impl>()) {}

Quavion::~Quavion() = default;

Quavion* Quavion::Instance() {
    static Quavion instance;
    return &instance;
}

std::string Quavion::Send(std::string command) {
    app::Parameters defaults;
    app::Parameters& parameters = app::openStore() == nullptr ? defaults : app::openStore()->parameters;
    return impl_->link.send(parameters, command);
}
