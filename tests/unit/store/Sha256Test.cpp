// SPDX-License-Identifier: MIT
#include "store/Sha256.h"
#include "tests/unit/Bytes.h"

#include <gtest/gtest.h>

TEST(Sha256, GivesTheValuesOfTheStandard) {
    EXPECT_EQ(store::sha256({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(store::sha256(tests::bytesOf("abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
