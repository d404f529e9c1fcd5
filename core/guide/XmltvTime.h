#pragma once

#include <QByteArrayView>

#include <optional>

// XMLTV times: "YYYYMMDDhhmmss ±hhmm", read into seconds since 1970-01-01 UTC. The offset is optional
// (none means UTC) and may follow without the space or with a colon ("+01:00"), "Z" is UTC; seconds,
// or minutes and seconds, may be left out. Anything else, or a date that does not exist, gives nothing.
namespace XmltvTime {
std::optional<qint64> parse(QByteArrayView text);
// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar.
qint64 daysFromCivil(qint64 year, unsigned month, unsigned day);
} // namespace XmltvTime
