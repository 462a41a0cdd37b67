#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "TavrinKit/Support/JsonReader.h"

namespace tavrin {
namespace {

/// A source that hands out a few bytes at a time, so that every token meets an end of the buffer.
JsonReader::Source inPieces(std::string_view text, std::size_t size) {
    return [text, size](char* buffer, std::size_t room) mutable {
        const std::size_t count = std::min({size, room, text.size()});
        text.copy(buffer, count);
        text.remove_prefix(count);
        return count;
    };
}

const std::string document =
    R"({"s1": "plain text that is longer than a block of sixty-four, and by so much that most of it is read)"
    R"( in blocks, whatever is put into it, in front of it or behind it", "s2": "\u00e9\ud83d\ude00\n\\\"\/",
  "s3": "é😀 ߿ࠀ￿", "s4": "", "skey\u0041": "escaped key", "n1": -0.5e-3, "n2": 12345678901234567890,
  "n3": 1e-400, "n4": 0, "b1": true, "b2" : false, "a1": [], "a2": [1, null,2.25 ], "x": {"y": [[{}], "z", null]}} )";

TEST(JsonReaderTests, readsTheSameValuesHoweverTheTextArrives) {
    for (const std::size_t size : {1, 2, 3, 7, 64, 100000}) {
        JsonReader reader(inPieces(document, size));
        EXPECT_EQ(reader.readTree(), Json::parse(document)) << size;
        reader.finish();
    }
}

bool succeeds(const auto& reading) {
    try {
        reading();
        return true;
    } catch (const JsonError& error) {
        EXPECT_EQ(error.kind(), JsonErrorKind::malformed);
        return false;
    }
}

bool canBeRead(const std::string& text) {
    return succeeds([&] { static_cast<void>(parseJson(text)); });
}

bool canBeSkipped(const std::string& text) {
    return succeeds([&] {
        JsonReader reader(inPieces(text, 5));
        reader.skipValue();
        reader.finish();
    });
}

/// The reader and a parser of another make must agree on what is JSON: on cases that are easily got wrong,
/// and on a document whose bytes are replaced, removed and added at random.
TEST(JsonReaderTests, agreesWithAnotherParser) {
    std::vector<std::string> texts{std::string("\"a\0b\"", 5)};
    std::istringstream easilyWrong(
        R"(| |nul|nulll|tru|NaN|Infinity|-Infinity|-|01|1.|.5|1e|1e+|+1|-0|0x10|1E5|1e400|-1e400|'a'|"|"\|)"
        R"(-9223372036854775808|-9223372036854775809|18446744073709551615|18446744073709551616|[1,]|[,1]|)"
        R"([1 2]|[1]]|[1] 2|[1}|[true, false,null]|{"a":1,"a":2}|{"a":1,}|{"a"}|{a:1}|{"a":}|{"a":1]|"\x"|)"
        R"("\u12g4"|"\ud800"|"\ud800\u0041"|"\udc00"|"\u-123"|)"
        "\"\t\"|\"\x7f\"|\"\xc3\"|\"\xc0\xaf\"|\"\xed\xa0\x80\"|\"\xf4\x90\x80\x80\"|\"\xe0\x80\x80\"|"
        "\"\xf0\x9f\x98\x80\"|//x\n1");
    for (std::string text; std::getline(easilyWrong, text, '|');) {
        texts.push_back(text);
    }
    std::mt19937 random(7);
    for (int i = 0; i < 8000; ++i) {
        std::string text = document;
        for (unsigned changes = random() % 3 + 1; changes > 0; --changes) {
            const char inserted = random() % 2 == 0 ? char(random()) : "{}[]\",:\\0e.-"[random() % 12];
            text.replace(random() % text.size(), random() % 4, 1, inserted);
        }
        texts.push_back(std::move(text));
    }
    int accepted = 0;
    for (const std::string& text : texts) {
        const bool expected = text.find('\0') == std::string::npos && Json::accept(text);
        ASSERT_EQ(canBeRead(text), expected) << text;
        ASSERT_EQ(canBeSkipped(text), expected) << text;
        ASSERT_TRUE(!expected || parseJson(text) == Json::parse(text)) << text;
        accepted += expected;
    }
    EXPECT_GT(accepted, 400);
    EXPECT_LT(accepted, 6000);
}

TEST(JsonReaderTests, refusesDeepNestingAtTheSameLevel) {
    for (const bool objects : {false, true}) {
        for (const int depth : {maximumJsonDepth - 1, maximumJsonDepth, maximumJsonDepth + 2, 1000000}) {
            std::string text;
            for (int i = 0; i < depth; ++i) {
                text += objects ? "{\"a\":" : "[";
            }
            text += "0";
            text.append(std::size_t(depth), objects ? '}' : ']');
            EXPECT_EQ(canBeRead(text), depth <= maximumJsonDepth) << depth;
            EXPECT_EQ(canBeSkipped(text), depth <= maximumJsonDepth) << depth;
        }
    }
}

TEST(JsonReaderTests, theLastOfEqualKeysHoldsAndNullCountsAsMissing) {
    double number = -1;
    std::optional<std::int64_t> count;
    const auto read = [&](std::string_view text) {
        JsonReader reader(text);
        reader.readRecord(JsonReader::required("number", number), JsonReader::tolerated("count", count));
    };
    read(R"({"count":3.0, "number":4, "number":5, "more":{}})");
    EXPECT_EQ(number, 5);
    EXPECT_EQ(count, 3);
    read(R"({"count":3, "count":null, "number":4})");
    EXPECT_EQ(count, std::nullopt);
    EXPECT_THROW(read(R"({"number":1, "number":null})"), JsonError);
}

} // namespace
} // namespace tavrin
