#pragma once

#include <QByteArray>
#include <QString>

#include <simdjson.h>

#include <optional>

// How provider JSON is read, in one place. Providers disagree on types (ids as numbers or strings,
// booleans as 0/1, arrays where objects belong), so values are read loosely:
// - a value counts as text when it is a string or a number (booleans read as "1" and "0");
// - identifiers are texts made only of ASCII digits;
// - a fallback from key A to key B is decided by the presence of A, not by its content;
// - rows that cannot be used are skipped by the callers, and the first of repeated ids wins.
// Internal to the repositories: nothing outside core/repositories includes simdjson.
namespace XtreamJson {

using Element = simdjson::dom::element;
using Object = simdjson::dom::object;

// Owns the parsed document; `root()` lives as long as it does.
class Document
{
public:
    // Throws JsonError on a syntax error (invalid UTF-8 included). Numbers too large for 64 bits or
    // for a double are valid JSON and are kept as their text (see `text` and `string`).
    explicit Document(const QByteArray &bytes);
    Element root() const { return m_root; }

private:
    simdjson::dom::parser m_parser;
    Element m_root;
};

// The value under `key`, or nothing when the object has no such key (or there is no object: an
// answer's "info" that is not an object reads as an empty one).
std::optional<Element> value(const std::optional<Object> &object, std::string_view key);
// The value of `first` when present (whatever it holds), otherwise the value of `second`.
std::optional<Element> valueOr(const std::optional<Object> &object, std::string_view first, std::string_view second);
std::optional<Element> valueOr(const std::optional<Object> &object, std::string_view first, std::string_view second,
                               std::string_view third);

// A string as itself; a number in its plain decimal form (1, 7.5), or as written when it is too large
// to be read as a number (1e400); true and false as "1" and "0"; anything else, or nothing, as the
// empty text.
QString text(const std::optional<Element> &element);
inline QString text(const std::optional<Object> &object, std::string_view key) { return text(value(object, key)); }
// The string itself when the value is a JSON string, else nothing (numbers kept as text included).
std::optional<QString> string(const std::optional<Element> &element);
// The object itself when the value is a JSON object, else nothing.
std::optional<Object> object(const std::optional<Element> &element);

// Every character is an ASCII digit (the empty text passes: callers check emptiness).
bool numeric(QStringView text);
// An optional sign and ASCII digits, within the signed 64-bit range; no blanks.
std::optional<qint64> decimalInteger(QStringView text);
// The whole text is a decimal number (no blanks, nothing else).
std::optional<double> decimalNumber(QStringView text);
// decimalNumber(text(element)), reading a string's bytes without making a text of them.
std::optional<double> decimalNumber(const std::optional<Element> &element);

} // namespace XtreamJson
