// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/last_two.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

// Writes its name down when it is destroyed.
class Element {
  public:
    Element(char name, std::string& destroyed) : name_(name), destroyed_(destroyed) {}
    ~Element() { destroyed_ += name_; }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;

  private:
    char name_;
    std::string& destroyed_;
};

class LastTwo : public testing::Test {
  protected:
    // Elements are named after their positions: 'a' is at 0. There are five.
    Element* at(std::size_t position) {
        return held_.at(position, [&] {
            read_.push_back(position);
            std::unique_ptr<Element> element;
            if (position < 5) {
                element = std::make_unique<Element>(static_cast<char>('a' + position), destroyed_);
            }
            return element;
        });
    }

    std::string destroyed_;
    std::vector<std::size_t> read_;
    mimelib::LastTwo<Element> held_;
};

TEST_F(LastTwo, ReadsAnElementThatIsNotHeld) {
    EXPECT_NE(at(0), nullptr);
    EXPECT_NE(at(1), nullptr);
    EXPECT_THAT(read_, ElementsAre(0, 1));
    EXPECT_EQ(destroyed_, "");
}

TEST_F(LastTwo, ReturnsAnElementThatIsHeldAgain) {
    Element* const first = at(0);
    Element* const second = at(1);
    EXPECT_EQ(at(0), first);
    EXPECT_EQ(at(1), second);
    EXPECT_THAT(read_, ElementsAre(0, 1));
}

TEST_F(LastTwo, AThirdElementTakesThePlaceOfTheOneUsedLongestAgo) {
    at(0);
    at(1);
    at(2);
    EXPECT_EQ(destroyed_, "a");
    at(1);
    at(3);
    EXPECT_EQ(destroyed_, "ac");
}

TEST_F(LastTwo, AnElementThatIsUsedStays) {
    Element* const first = at(0);
    at(1);
    held_.use(*first);
    at(2);
    EXPECT_EQ(destroyed_, "b");
    EXPECT_EQ(at(0), first);
}

TEST_F(LastTwo, NothingGivesWayToAnElementThatDoesNotExist) {
    Element* const first = at(0);
    Element* const second = at(4);
    EXPECT_EQ(at(5), nullptr);
    EXPECT_EQ(destroyed_, "");
    EXPECT_EQ(at(0), first);
    EXPECT_EQ(at(4), second);
}

TEST_F(LastTwo, DestroysWhatItHolds) {
    {
        mimelib::LastTwo<Element> held;
        held.at(0, [&] { return std::make_unique<Element>('x', destroyed_); });
    }
    EXPECT_EQ(destroyed_, "x");
}

}  // namespace
