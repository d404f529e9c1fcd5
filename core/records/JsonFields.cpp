#include "JsonFields.h"

namespace JsonFields {

namespace {
[[noreturn]] void fail(QLatin1StringView key, const char *expected)
{
    throw JsonError(QStringLiteral("key \"%1\": expected %2").arg(key, QLatin1StringView(expected)));
}
} // namespace

QJsonValue require(const QJsonObject &object, QLatin1StringView key)
{
    const auto it = object.constFind(key);
    if (it == object.constEnd())
        throw JsonError(QStringLiteral("missing key \"%1\"").arg(key));
    return it.value();
}

QString string(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = require(object, key);
    if (!value.isString())
        fail(key, "a string");
    return value.toString();
}

double number(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = require(object, key);
    if (!value.isDouble())
        fail(key, "a number");
    return value.toDouble();
}

bool boolean(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = require(object, key);
    if (!value.isBool())
        fail(key, "a boolean");
    return value.toBool();
}

QJsonArray array(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = require(object, key);
    if (!value.isArray())
        fail(key, "an array");
    return value.toArray();
}

QJsonObject object(const QJsonValue &value, QLatin1StringView what)
{
    if (!value.isObject())
        throw JsonError(QStringLiteral("%1: expected an object").arg(what));
    return value.toObject();
}

QUuid uuid(const QJsonObject &object, QLatin1StringView key)
{
    const std::optional<QUuid> parsed = parseCanonicalUuid(string(object, key));
    if (!parsed)
        fail(key, "a UUID");
    return *parsed;
}

std::optional<QUuid> parseCanonicalUuid(QStringView text)
{
    if (text.size() != 36)
        return std::nullopt;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const bool hyphenPlace = i == 8 || i == 13 || i == 18 || i == 23;
        const bool hex = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
        if (hyphenPlace ? c != u'-' : !hex)
            return std::nullopt;
    }
    return QUuid::fromString(text);
}

QString canonicalUuid(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace JsonFields
