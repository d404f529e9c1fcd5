#pragma once

#include <QByteArray>
#include <QList>
#include <QStringView>

#include <string_view>

// Writes JSON the way PHP's json_encode does, as Xtream panels send it: "\/" for slashes and
// "\u00e9" escapes for every character outside ASCII. Appends to a caller's buffer, fast enough for
// lists of 100,000 rows.
class PhpJsonWriter
{
public:
    explicit PhpJsonWriter(QByteArray &out)
        : m_out(out)
    {
    }

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    // The key of the next member of the current object.
    void key(std::string_view name);

    void string(QStringView text);
    void number(qint64 value);
    void number(double value);
    void null();
    void boolean(bool value);

    // key() followed by a value.
    void field(std::string_view name, QStringView text)
    {
        key(name);
        string(text);
    }
    void field(std::string_view name, const char16_t *text)
    {
        key(name);
        string(QStringView(text));
    }
    void field(std::string_view name, qint64 value)
    {
        key(name);
        number(value);
    }
    void field(std::string_view name, int value)
    {
        key(name);
        number(qint64(value));
    }
    void field(std::string_view name, double value)
    {
        key(name);
        number(value);
    }
    void nullField(std::string_view name)
    {
        key(name);
        null();
    }

private:
    void separate();

    QByteArray &m_out;
    QList<bool> m_first; // per open container: no member written yet
    bool m_afterKey = false;
};
