// SPDX-License-Identifier: MIT
#include "tests/cgi/standin/Recorder.h"

#include "util/Exception.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace standin {

namespace {

int quietDepth = 0;

/** Replaces each "\xNN" by its byte. */
std::string unescaped(const std::string& text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.compare(at, 2, "\\x") == 0) {
            bytes += static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16));
            at += 3;
        } else {
            bytes += text[at];
        }
    }
    return bytes;
}

/** The script: each function's name, and the rest of its line. */
std::map<std::string, std::string> readScript() {
    std::map<std::string, std::string> orders;
    const char* path = std::getenv("STANDIN_SCRIPT"); // NOLINT(concurrency-mt-unsafe): one thread
    if (path == nullptr) return orders;
    std::ifstream file(path);
    if (!file) throw std::runtime_error("can't read the stand-in's script");
    for (std::string line; std::getline(file, line);) {
        const std::size_t blank = line.find(' ');
        if (blank == std::string::npos)
            throw std::runtime_error("no order in the stand-in's script: " + line);
        orders[line.substr(0, blank)] = line.substr(blank + 1);
    }
    return orders;
}

std::optional<std::string> orderFor(const std::string& function) {
    static const std::map<std::string, std::string> orders = readScript();
    static std::map<std::string, int> calls;
    const std::string nthCall = function + "#" + std::to_string(++calls[function]);
    for (const std::string& key : {nthCall, function}) {
        if (const auto order = orders.find(key); order != orders.end()) return order->second;
    }
    return std::nullopt;
}

/** Removes `prefix` from the front of `text`. @return false if `text` doesn't start with it */
bool take(std::string& text, std::string_view prefix) {
    if (text.compare(0, prefix.size(), prefix) != 0) return false;
    text.erase(0, prefix.size());
    return true;
}

void appendToLog(const std::string& line) {
    const char* path = std::getenv("STANDIN_LOG"); // NOLINT(concurrency-mt-unsafe): one thread
    if (path == nullptr) return;
    const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) throw std::system_error(errno, std::generic_category(), "can't open the stand-in's log");
    const ssize_t written = write(file, line.data(), line.size());
    close(file);
    if (written != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("can't write the stand-in's log");
}

} // namespace

std::string quoted(std::string_view bytes) {
    std::string text = "\"";
    for (const char c : bytes) {
        if (c >= ' ' && c <= '~' && c != '"' && c != '\\') {
            text += c;
        } else {
            constexpr std::string_view digits = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(c);
            text += {'\\', 'x', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return text + '"';
}

void record(const std::string& function, const std::string& arguments) {
    if (quietDepth == 0) appendToLog(function + "(" + arguments + ")\n");
}

std::optional<std::string> obey(const std::string& function) {
    if (quietDepth > 0) return std::nullopt;
    std::optional<std::string> order = orderFor(function);
    if (!order) return std::nullopt;
    if (take(*order, "return ")) return unescaped(*order);
    if (take(*order, "throw util ")) throw util::Exception(unescaped(*order));
    if (take(*order, "throw std ")) throw std::runtime_error(unescaped(*order));
    if (*order == "throw other") throw 42;
    std::cerr << "unknown order in the stand-in's script: " << *order << std::endl;
    std::abort();
}

std::optional<std::string> called(const std::string& function, const std::string& arguments) {
    record(function, arguments);
    return obey(function);
}

bool calledForBool(bool usually, const std::string& function, const std::string& arguments) {
    const std::optional<std::string> result = called(function, arguments);
    return result ? *result == "true" : usually;
}

int calledForInt(int usually, const std::string& function, const std::string& arguments) {
    const std::optional<std::string> result = called(function, arguments);
    return result ? std::stoi(*result) : usually;
}

Quiet::Quiet() { ++quietDepth; }

Quiet::~Quiet() { --quietDepth; }

} // namespace standin
