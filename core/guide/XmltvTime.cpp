#include "XmltvTime.h"

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The number in text[at, at + count), which must be all digits; -1 otherwise.
int digits(QByteArrayView text, qsizetype at, qsizetype count)
{
    if (at + count > text.size())
        return -1;
    int value = 0;
    for (qsizetype i = at; i < at + count; ++i) {
        if (!isDigit(text[i]))
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

bool isLeapYear(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month)
{
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

} // namespace

namespace XmltvTime {

qint64 daysFromCivil(qint64 year, unsigned month, unsigned day)
{
    // Howard Hinnant's days_from_civil: years counted from March, in 400-year eras.
    year -= month <= 2;
    const qint64 era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = unsigned(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + qint64(dayOfEra) - 719468;
}

std::optional<qint64> parse(QByteArrayView text)
{
    qsizetype length = 0;
    while (length < text.size() && isDigit(text[length]))
        ++length;
    if (length != 12 && length != 14)
        return std::nullopt;
    const int year = digits(text, 0, 4);
    const int month = digits(text, 4, 2);
    const int day = digits(text, 6, 2);
    const int hour = digits(text, 8, 2);
    const int minute = digits(text, 10, 2);
    const int second = length == 14 ? digits(text, 12, 2) : 0;
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 || minute > 59
        || second > 60)
        return std::nullopt;

    qsizetype at = length;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    int offset = 0; // seconds east of UTC
    if (at < text.size()) {
        const char sign = text[at];
        if (sign == 'Z' && at + 1 == text.size()) {
            at = text.size();
        } else if (sign == '+' || sign == '-') {
            const int hours = digits(text, at + 1, 2);
            const bool colon = at + 3 < text.size() && text[at + 3] == ':';
            const int minutes = digits(text, at + (colon ? 4 : 3), 2);
            if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59)
                return std::nullopt;
            offset = (hours * 3600 + minutes * 60) * (sign == '-' ? -1 : 1);
            at += colon ? 6 : 5;
        }
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
            ++at;
        if (at != text.size())
            return std::nullopt;
    }
    const qint64 days = daysFromCivil(year, unsigned(month), unsigned(day));
    return days * 86400 + hour * 3600 + minute * 60 + second - offset;
}

} // namespace XmltvTime
