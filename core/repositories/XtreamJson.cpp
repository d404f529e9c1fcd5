#include "XtreamJson.h"
#include "records/JsonError.h"

#include <QLocale>

#include <charconv>
#include <cmath>

using namespace Qt::StringLiterals;

namespace XtreamJson {

Document::Document(const QByteArray &bytes)
{
    // `parse` copies the input into a padded buffer when it has no padding of its own.
    const simdjson::error_code error = m_parser.parse(bytes.constData(), size_t(bytes.size()), true).get(m_root);
    if (error)
        throw JsonError(QString::fromLatin1(simdjson::error_message(error)));
}

std::optional<Element> value(const std::optional<Object> &object, std::string_view key)
{
    Element element;
    if (!object || object->at_key(key).get(element))
        return std::nullopt;
    return element;
}

std::optional<Element> valueOr(const std::optional<Object> &object, std::string_view first, std::string_view second)
{
    if (std::optional<Element> present = value(object, first))
        return present;
    return value(object, second);
}

std::optional<Element> valueOr(const std::optional<Object> &object, std::string_view first, std::string_view second,
                               std::string_view third)
{
    if (std::optional<Element> present = value(object, first))
        return present;
    return valueOr(object, second, third);
}

namespace {
QString fromView(std::string_view view)
{
    return QString::fromUtf8(view.data(), qsizetype(view.size()));
}

QString numberText(double number)
{
    // Whole numbers are written without a decimal point, as integers.
    if (std::isfinite(number) && number == std::trunc(number) && std::fabs(number) < 9007199254740992.0)
        return QString::number(qint64(number));
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}
} // namespace

QString text(const std::optional<Element> &element)
{
    if (!element)
        return QString();
    switch (element->type()) {
    case simdjson::dom::element_type::STRING:
        return fromView(std::string_view(*element));
    case simdjson::dom::element_type::INT64:
        return QString::number(int64_t(*element));
    case simdjson::dom::element_type::UINT64:
        return QString::number(uint64_t(*element));
    case simdjson::dom::element_type::DOUBLE:
        return numberText(double(*element));
    case simdjson::dom::element_type::BOOL:
        return bool(*element) ? u"1"_s : u"0"_s;
    default:
        return QString();
    }
}

std::optional<QString> string(const std::optional<Element> &element)
{
    std::string_view view;
    if (!element || element->get(view))
        return std::nullopt;
    return fromView(view);
}

std::optional<Object> object(const std::optional<Element> &element)
{
    Object result;
    if (!element || element->get(result))
        return std::nullopt;
    return result;
}

bool numeric(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

std::optional<qint64> decimalInteger(QStringView text)
{
    QStringView digits = text;
    bool negative = false;
    if (!digits.isEmpty() && (digits.front() == u'+' || digits.front() == u'-')) {
        negative = digits.front() == u'-';
        digits = digits.sliced(1);
    }
    if (digits.isEmpty() || !numeric(digits))
        return std::nullopt;
    // Accumulate towards the negative side so that the most negative value fits.
    qint64 value = 0;
    for (const QChar c : digits) {
        const int digit = c.unicode() - u'0';
        if (value < (std::numeric_limits<qint64>::min() + digit) / 10)
            return std::nullopt;
        value = value * 10 - digit;
    }
    if (!negative) {
        if (value == std::numeric_limits<qint64>::min())
            return std::nullopt;
        value = -value;
    }
    return value;
}

std::optional<double> decimalNumber(QStringView text)
{
    if (text.isEmpty())
        return std::nullopt;
    QByteArray ascii;
    ascii.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool allowed = (u >= u'0' && u <= u'9') || u == u'.' || u == u'-' || u == u'+' || u == u'e' || u == u'E';
        if (!allowed)
            return std::nullopt;
        ascii.append(char(u));
    }
    const char *begin = ascii.constData();
    const char *end = begin + ascii.size();
    if (*begin == '+')
        ++begin; // from_chars refuses a leading plus sign
    double number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number))
        return std::nullopt;
    return number;
}

} // namespace XtreamJson
