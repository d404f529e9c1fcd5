#pragma once

#include "JsonError.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QUuid>

#include <optional>

// Strict readers for the records we store ourselves: every key is required and must have the
// expected JSON type, else decoding fails with a JsonError. Unknown keys are ignored.
namespace JsonFields {

QJsonValue require(const QJsonObject &object, QLatin1StringView key);
QString string(const QJsonObject &object, QLatin1StringView key);
double number(const QJsonObject &object, QLatin1StringView key);
bool boolean(const QJsonObject &object, QLatin1StringView key);
QJsonArray array(const QJsonObject &object, QLatin1StringView key);
QJsonObject object(const QJsonValue &value, QLatin1StringView what);
QUuid uuid(const QJsonObject &object, QLatin1StringView key);

// A UUID in its 36-character hyphenated form (either letter case); nothing for any other text.
std::optional<QUuid> parseCanonicalUuid(QStringView text);
// The canonical text of a UUID as stored and used in every key: upper case, no braces.
QString canonicalUuid(const QUuid &uuid);

} // namespace JsonFields
