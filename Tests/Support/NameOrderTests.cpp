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
        std::vector<Named> records(random() % 40 + 1);
        for (Named& record : records) {
            record = {names[random() % names.size()], int(random() % 6)};
        }
        sortByName(records.begin(), records.end());
        for (auto next = records.begin() + 1; next != records.end(); ++next) {
            const Named& last = *(next - 1);
            ASSERT_LE(collationKey(last.name), collationKey(next->name));
            ASSERT_TRUE(last.name != next->name || last.id <= next->id) << next->name;
        }
    }
}

} // namespace
} // namespace tavrin
