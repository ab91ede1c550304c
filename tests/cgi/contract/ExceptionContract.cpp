// SPDX-License-Identifier: MIT
#include "util/Exception.h"

#include <gtest/gtest.h>

TEST(ExceptionContract, GivesItsText) {
    util::Exception exception("The store is full.");
    EXPECT_EQ(exception.GetText(), "The store is full.");
    EXPECT_STREQ(exception.what(), "The store is full.");
    EXPECT_EQ(util::Exception("").GetText(), "");
    const util::Exception& caught = exception;
    EXPECT_EQ(caught.GetText(), "The store is full.");
}

TEST(ExceptionContract, IsCaughtAsAStandardException) {
    EXPECT_THROW(throw util::Exception("x"), std::exception);
}

TEST(ExceptionContract, CopiesKeepTheText) {
    util::Exception exception("one");
    util::Exception copy(exception);
    exception = util::Exception("two");
    EXPECT_EQ(copy.GetText(), "one");
    EXPECT_EQ(exception.GetText(), "two");
}
