#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Support/NameOrder.h"

namespace tavrin {
namespace {

struct Named {
    std::string name;
    int id = 0;
    int place = 0; ///< where it stood before
};

std::vector<std::string> sortedNames(std::vector<std::string> names) {
    std::vector<Named> records;
    for (const std::string& name : names) {
        records.push_back({name});
    }
    sortByName(records.begin(), records.end());
    std::ranges::transform(records, names.begin(), &Named::name);
    return names;
}

TEST(NameOrderTests, followsTheLanguageAndNotTheCode) {
    EXPECT_THAT(sortedNames({"zebra", "Öl", "B", "ofen", "apfel", "Äpfel", "Orden", "a"}),
                testing::ElementsAre("a", "apfel", "Äpfel", "B", "ofen", "Öl", "Orden", "zebra"));
    EXPECT_THAT(sortedNames({"b", "\xff", "B", "", "a"}), testing::ElementsAre("", "a", "b", "B", "\xff"));
}

TEST(NameOrderTests, isAnOrderForAnyNames) {
    const std::array names{"a", "A", "ä", "Ä", "b", "B", "", "a ", "ab", "AB", "aB", "é", "e\xCC\x81"};
    std::mt19937 random(4);
    for (int round = 0; round < 300; ++round) {
        std::vector<Named> records(random() % 40);
        for (Named& record : records) {
            record = {names[random() % names.size()], int(random() % 6), int(&record - records.data())};
        }
        sortByName(records.begin(), records.end());
        int lastPlace = -1; ///< of the run before, where it is of the same key
        for (auto first = records.begin(); first != records.end();) {
            const auto end = std::find_if(first, records.end(),
                                          [&](const Named& record) { return record.name != first->name; });
            ASSERT_TRUE(std::ranges::is_sorted(first, end, {}, &Named::id));
            const auto [least, most] =
                std::ranges::minmax(std::ranges::subrange(first, end), {}, &Named::place);
            const bool isNewKey =
                first == records.begin() || collationKey(std::prev(first)->name) < collationKey(first->name);
            ASSERT_TRUE(isNewKey || (collationKey(std::prev(first)->name) == collationKey(first->name) &&
                                     lastPlace < least.place));
            lastPlace = most.place;
            first = end;
        }
    }
}

} // namespace
} // namespace tavrin
