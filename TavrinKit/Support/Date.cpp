#include "TavrinKit/Support/Date.h"

#include <ctime>

#include <fmt/format.h>

namespace tavrin {
namespace {

std::optional<int> digits(std::string_view text, size_t position, size_t count) {
    if (position + count > text.size()) {
        return std::nullopt;
    }
    int value = 0;
    for (const char c : text.substr(position, count)) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + (c - '0');
    }
    return value;
}

/// The offset behind the seconds, in minutes: "Z", "+hh:mm" or "+hhmm".
std::optional<int> zoneOffset(std::string_view zone) {
    if (zone == "Z") {
        return 0;
    }
    if (zone.size() < 5 || (zone[0] != '+' && zone[0] != '-')) {
        return std::nullopt;
    }
    const bool colon = zone[3] == ':';
    const auto hours = digits(zone, 1, 2);
    const auto minutes = digits(zone, colon ? 4 : 3, 2);
    if (!hours || !minutes || *hours > 23 || *minutes > 59 || zone.size() != (colon ? 6U : 5U)) {
        return std::nullopt;
    }
    const int offset = *hours * 60 + *minutes;
    return zone[0] == '-' ? -offset : offset;
}

} // namespace

Date currentDate() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

std::string iso8601(Date date) {
    const auto day = std::chrono::floor<std::chrono::days>(date);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(date - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", int(calendar.year()),
                       unsigned(calendar.month()), unsigned(calendar.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count());
}

std::optional<Date> parseISO8601(std::string_view text) {
    if (text.size() < 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':') {
        return std::nullopt;
    }
    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2);
    const auto minute = digits(text, 14, 2);
    const auto second = digits(text, 17, 2);
    const auto offset = zoneOffset(text.substr(19));
    if (!year || !month || !day || !hour || !minute || !second || !offset) {
        return std::nullopt;
    }
    const std::chrono::year_month_day calendar{std::chrono::year(*year), std::chrono::month(unsigned(*month)),
                                               std::chrono::day(unsigned(*day))};
    if (!calendar.ok() || *hour > 23 || *minute > 59 || *second > 60) {
        return std::nullopt;
    }
    return std::chrono::sys_days(calendar) + std::chrono::hours(*hour) +
           std::chrono::minutes(*minute - *offset) + std::chrono::seconds(*second);
}

std::string timestampLabel(Date date) {
    const std::time_t time = date.time_since_epoch().count();
    std::tm local{};
    localtime_r(&time, &local);
    return fmt::format("{:04}{:02}{:02}-{:02}{:02}{:02}", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

} // namespace tavrin
