// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace bridge {

/** A command as it was posted: its name and the texts of its fields. Immutable. */
class Command {
public:
    /** The largest that is read. */
    static constexpr std::size_t maxBytes = std::size_t{64} * 1024;

    /** @throws Failure for what is no command at all, or has a field twice or one that is no text */
    explicit Command(const std::string& document);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }

    /** @throws Failure when there is a field with another name */
    void allowOnly(std::span<const std::string_view> fields) const;

    /** A name, without the white space around it; none where there is no such field. @throws Failure for what
     * no tag of a song can hold */
    [[nodiscard]] std::optional<std::string> text(const std::string& field) const;

    /** @throws Failure for another number, or none */
    [[nodiscard]] std::optional<int> number(const std::string& field, int least, int most) const;

    /** A field that has to be there. @throws Failure when it isn't */
    template <typename Value>
    [[nodiscard]] static Value required(std::optional<Value> value, std::string_view field) {
        if (!value) refuse(field, "is missing");
        return *std::move(value);
    }

private:
    [[noreturn]] static void refuse(std::string_view field, std::string_view reason);
    [[nodiscard]] std::optional<std::string_view> find(const std::string& field) const;

    std::string name_;
    std::map<std::string, std::string> fields_;
};

} // namespace bridge
