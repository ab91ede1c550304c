// SPDX-License-Identifier: MIT
#include "app/Quavion.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

TEST(QuavionContract, IsOneAndStaysThere) {
    Quavion* const instance = Quavion::Instance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(Quavion::Instance(), instance);
    static_assert(!std::is_copy_constructible_v<Quavion> && !std::is_destructible_v<Quavion>);
}

TEST(QuavionContract, AnswersEveryTextOrThrowsAnException) {
    for (const std::string& command : {std::string(" <GetPlayerState />"), std::string(),
                                       std::string("no <xml"), std::string("\xff\0&", 3)}) {
        try {
            EXPECT_NE(Quavion::Instance()->Send(command), "");
        } catch (const util::Exception& e) {
            EXPECT_NE(e.GetText(), "");
        }
    }
}
