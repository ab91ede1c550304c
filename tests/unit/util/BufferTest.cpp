// SPDX-License-Identifier: MIT
#include "util/Buffer.h"

#include "tests/unit/Bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

namespace {

using tests::bytesOf;
using tests::textOf;
using util::Buffer;

void freeBlock(void* block) {
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

void* allocate(std::size_t size) {
    return std::malloc(size); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

TEST(Buffer, StartsEmpty) {
    const Buffer buffer;
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.size(), 0U);
    EXPECT_TRUE(buffer.bytes().empty());
}

TEST(Buffer, CopiesTheBytesItIsGiven) {
    std::string text("cover\0art", 9);
    const Buffer buffer(bytesOf(text));
    text[0] = 'X';
    EXPECT_EQ(textOf(buffer.bytes()), std::string_view("cover\0art", 9));
}

TEST(Buffer, MakesRoomThatCanBeWritten) {
    Buffer buffer(std::size_t{3});
    buffer.data()[2] = std::byte{7};
    EXPECT_EQ(buffer.bytes()[2], std::byte{7});
    EXPECT_FALSE(buffer.empty());
}

TEST(Buffer, HasABlockEvenWithoutBytes) {
    EXPECT_NE(Buffer(std::size_t{0}).data(), nullptr);
    EXPECT_TRUE(Buffer(bytesOf("")).empty());
}

TEST(Buffer, TakesOverABlockOfTheCAllocator) {
    void* block = allocate(5);
    const Buffer buffer(block, 5);
    EXPECT_EQ(static_cast<const void*>(buffer.data()), block);
    EXPECT_EQ(buffer.size(), 5U);
}

TEST(Buffer, GivesItsBlockAway) {
    Buffer buffer(bytesOf("cover"));
    const void* before = buffer.data();
    void* block = buffer.release();
    EXPECT_EQ(block, before);
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(std::string_view(static_cast<const char*>(block), 5), "cover");
    freeBlock(block);
}

TEST(Buffer, MovesWithoutCopying) {
    Buffer from(bytesOf("cover"));
    const std::byte* block = from.data();
    const Buffer to = std::move(from);
    EXPECT_EQ(to.data(), block);
    EXPECT_EQ(textOf(to.bytes()), "cover");
}

} // namespace
