#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Support/Json.h"

namespace tavrin {
namespace {

TEST(JsonTests, writesSortedKeysAndFiniteNumbers) {
    Json json;
    JsonObjectWriter(json).put("b", 0.5).put("a", Vec2{1, 2.25}).put("c", std::optional<double>());
    const std::string expected = "{\n  \"a\": {\n    \"x\": 1.0,\n    \"y\": 2.25\n  },\n  \"b\": 0.5\n}\n";
    EXPECT_EQ(encodeJson(json), expected);
    EXPECT_EQ(parseJson("\xef\xbb\xbf" + expected), json); // with a byte order mark
    json["b"] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW((void)encodeJson(json), JsonError);
}

TEST(JsonTests, refusesValuesOfTheWrongKind) {
    const auto refuses = [](const char* text, auto value) {
        EXPECT_THROW(decode(parseJson(text), value), JsonError) << text;
    };
    refuses("1.5", std::int64_t());
    refuses("99999999999999999999", std::int64_t());
    refuses("3000000000", int());
    refuses("\"1\"", double());
    refuses("true", double());
    refuses("1", bool());
    refuses("[[1, 2], [3]]", Rect());
    refuses(R"({"a": "1", "b": 2})", std::map<std::string, std::string>());
    refuses("[]", std::map<std::string, std::string>());
    std::int64_t whole = 0;
    decode(parseJson("2.0"), whole);
    EXPECT_EQ(whole, 2);
}

TEST(DateTests, roundTripsAndRefuses) {
    EXPECT_EQ(iso8601(*parseISO8601("2026-02-28T23:59:59Z")), "2026-02-28T23:59:59Z");
    EXPECT_EQ(iso8601(*parseISO8601("2026-01-01T00:30:00+02:00")), "2025-12-31T22:30:00Z");
    for (const char* text : {"", "2026-02-29T00:00:00Z", "2026-01-01 00:00:00Z", "2026-01-01T24:00:00Z",
                             "2026-01-01T00:00:00", "2026-01-01T00:00:00Zz", "2026-1-01T00:00:00Z"}) {
        EXPECT_FALSE(parseISO8601(text)) << text;
    }
}

TEST(UUIDTests, orderIsThatOfTheText) {
    const auto low = UUID::parse("0a000000-0000-4000-8000-000000000000");
    const auto high = UUID::parse("A0000000-0000-4000-8000-000000000000");
    ASSERT_TRUE(low && high);
    EXPECT_LT(*low, *high);
    EXPECT_LT(low->string(), high->string());
    EXPECT_FALSE(UUID::parse("0a0000000000400080000000000000000000"));
}

} // namespace
} // namespace tavrin
