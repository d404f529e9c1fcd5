#include "XtreamJson.h"
#include "records/JsonError.h"

#include <QLocale>

#include <charconv>
#include <cmath>

using namespace Qt::StringLiterals;

namespace XtreamJson {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The digits of a number token are compared as decimal text: JSON integers have no leading zeros.
bool exceeds(std::string_view digits, std::string_view limit)
{
    return digits.size() != limit.size() ? digits.size() > limit.size() : digits > limit;
}

// A JSON number (-?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?) too large for a 64-bit integer
// or a double, which the parser refuses although the document is valid JSON. Values too small for a
// double read as 0 and are not among them.
bool isOutOfRangeNumber(std::string_view token)
{
    size_t i = 0;
    const bool negative = i < token.size() && token[i] == '-';
    if (negative)
        ++i;
    const size_t integerStart = i;
    if (i < token.size() && token[i] == '0')
        ++i;
    else
        while (i < token.size() && isDigit(token[i]))
            ++i;
    const std::string_view integer = token.substr(integerStart, i - integerStart);
    if (integer.empty())
        return false;
    std::string_view fraction;
    if (i < token.size() && token[i] == '.') {
        const size_t fractionStart = ++i;
        while (i < token.size() && isDigit(token[i]))
            ++i;
        fraction = token.substr(fractionStart, i - fractionStart);
        if (fraction.empty())
            return false;
    }
    bool exponent = false;
    if (i < token.size() && (token[i] == 'e' || token[i] == 'E')) {
        ++i;
        if (i < token.size() && (token[i] == '+' || token[i] == '-'))
            ++i;
        const size_t exponentStart = i;
        while (i < token.size() && isDigit(token[i]))
            ++i;
        if (i == exponentStart)
            return false;
        exponent = true;
    }
    if (i != token.size())
        return false;
    if (fraction.empty() && !exponent)
        return negative ? exceeds(integer, "9223372036854775808") : exceeds(integer, "18446744073709551615");
    double value = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (error != std::errc::result_out_of_range)
        return false;
    // Out of range either way: too large when its first significant digit stands left of the point
    // once the exponent is applied.
    qint64 order = 0;
    const size_t significant = integer.find_first_not_of('0');
    if (significant != std::string_view::npos) {
        order = qint64(integer.size() - significant);
    } else {
        const size_t first = fraction.find_first_not_of('0');
        if (first == std::string_view::npos)
            return false;
        order = -qint64(first);
    }
    const size_t exponentAt = token.find_first_of("eE");
    const std::string_view exponentText = token.substr(exponentAt + 1);
    const bool exponentNegative = exponentText.front() == '-';
    qint64 exponentValue = 0;
    for (const char c : exponentText) {
        if (isDigit(c) && exponentValue < 1'000'000'000)
            exponentValue = exponentValue * 10 + (c - '0');
    }
    return order + (exponentNegative ? -exponentValue : exponentValue) > 0;
}

// Marks a number that was kept as its text: a JSON text can hold U+0000 only as the escape "\u0000".
constexpr char numberTextMarker = '\0';

// `bytes` with every out-of-range number written as a string holding the marker and the number's
// text; empty when there is no such number, or when the body already holds the escape "\u0000" (the
// marker would be ambiguous: the numbers are then dropped, and their keys read as null).
QByteArray withOutOfRangeNumbersAsText(const QByteArray &bytes)
{
    const bool markable = !bytes.contains("\\u0000");
    QByteArray rewritten;
    qsizetype copied = 0;
    const qsizetype size = bytes.size();
    qsizetype i = 0;
    while (i < size) {
        const char c = bytes[i];
        if (c == '"') {
            for (++i; i < size && bytes[i] != '"'; ++i) {
                if (bytes[i] == '\\')
                    ++i;
            }
            ++i;
            continue;
        }
        if (c != '-' && !isDigit(c)) {
            ++i;
            continue;
        }
        qsizetype end = i;
        while (end < size && (isDigit(bytes[end]) || bytes[end] == '-' || bytes[end] == '+' || bytes[end] == '.'
                              || bytes[end] == 'e' || bytes[end] == 'E'))
            ++end;
        const std::string_view token(bytes.constData() + i, size_t(end - i));
        if (isOutOfRangeNumber(token)) {
            if (rewritten.isEmpty())
                rewritten.reserve(size + 1024);
            rewritten.append(bytes.constData() + copied, i - copied);
            if (markable) {
                rewritten.append("\"\\u0000");
                rewritten.append(token.data(), qsizetype(token.size()));
                rewritten.append('"');
            } else {
                rewritten.append("null");
            }
            copied = end;
        }
        i = end;
    }
    if (copied == 0)
        return QByteArray();
    rewritten.append(bytes.constData() + copied, size - copied);
    return rewritten;
}

// The number's text when `view` is a number kept as text by `withOutOfRangeNumbersAsText`.
std::optional<std::string_view> numberText(std::string_view view)
{
    if (view.empty() || view.front() != numberTextMarker || !isOutOfRangeNumber(view.substr(1)))
        return std::nullopt;
    return view.substr(1);
}

} // namespace

Document::Document(const QByteArray &bytes)
{
    // The parser reads up to SIMDJSON_PADDING bytes past the end of the text, whatever they hold.
    // A downloaded body usually has that much room left in its allocation (it grew as it arrived):
    // then it is read in place; otherwise `parse` copies it into a padded buffer first. Strings are
    // copied out either way, so the document does not refer to the input.
    const bool padded = bytes.capacity() - bytes.size() >= qsizetype(simdjson::SIMDJSON_PADDING);
    simdjson::error_code error = m_parser.parse(bytes.constData(), size_t(bytes.size()), !padded).get(m_root);
    if (error == simdjson::NUMBER_ERROR) {
        // Valid JSON may hold numbers beyond 64 bits or beyond a double ("added": 1e400). Such
        // answers are rare: only they pay for a second pass, which reads those numbers as text.
        const QByteArray rewritten = withOutOfRangeNumbersAsText(bytes);
        if (!rewritten.isEmpty()
            && !m_parser.parse(rewritten.constData(), size_t(rewritten.size()), true).get(m_root))
            return;
    }
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

// An integer in plain decimal, as QString::number writes it, without its general number formatting:
// ids of thousands of rows are integers.
template<typename Integer>
QString integerText(Integer number)
{
    char digits[24];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
    Q_UNUSED(error); // 24 characters hold every 64-bit integer
    return QString::fromLatin1(digits, qsizetype(end - digits));
}

QString decimalText(double number)
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
    case simdjson::dom::element_type::STRING: {
        const std::string_view view(*element);
        return fromView(numberText(view).value_or(view));
    }
    case simdjson::dom::element_type::INT64:
        return integerText(int64_t(*element));
    case simdjson::dom::element_type::UINT64:
        return integerText(uint64_t(*element));
    case simdjson::dom::element_type::DOUBLE:
        return decimalText(double(*element));
    case simdjson::dom::element_type::BOOL:
        return bool(*element) ? u"1"_s : u"0"_s;
    default:
        return QString();
    }
}

std::optional<QString> string(const std::optional<Element> &element)
{
    std::string_view view;
    if (!element || element->get(view) || numberText(view))
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

namespace {
// The whole of `ascii` is a decimal number: only digits, signs, points and exponents are looked at,
// and from_chars must read all of it.
std::optional<double> decimalNumberOfAscii(std::string_view ascii)
{
    if (ascii.empty())
        return std::nullopt;
    for (const char c : ascii) {
        const bool allowed = (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E';
        if (!allowed)
            return std::nullopt;
    }
    const char *begin = ascii.data();
    const char *end = begin + ascii.size();
    if (*begin == '+')
        ++begin; // from_chars refuses a leading plus sign
    double number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number))
        return std::nullopt;
    return number;
}
} // namespace

std::optional<double> decimalNumber(QStringView text)
{
    if (text.isEmpty())
        return std::nullopt;
    QByteArray ascii;
    ascii.reserve(text.size());
    for (const QChar c : text) {
        // Anything outside ASCII is refused below as any other character outside the number's.
        ascii.append(c.unicode() < 0x80 ? char(c.unicode()) : 'x');
    }
    return decimalNumberOfAscii(std::string_view(ascii.constData(), size_t(ascii.size())));
}

std::optional<double> decimalNumber(const std::optional<Element> &element)
{
    std::string_view view;
    if (!element || element->get(view))
        return decimalNumber(text(element));
    // A string is read from its UTF-8 bytes: a number is ASCII, and any other byte refuses it.
    return decimalNumberOfAscii(numberText(view).value_or(view));
}

} // namespace XtreamJson
