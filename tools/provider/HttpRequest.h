#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

// One HTTP/1.x request head, as the provider reads it: GET and HEAD only, so any body makes the
// connection close after the answer instead of being read.
struct HttpRequest
{
    enum class Parse
    {
        incomplete,
        complete,
        malformed,
        tooLarge
    };

    static constexpr qsizetype maximumHeadBytes = 16 * 1024;

    QByteArray method;
    QByteArray target; // as sent
    QStringList path; // the decoded segments after the first "/" ("/a/b%20c" → "a", "b c")
    QHash<QString, QString> query; // PHP-style: "+" is a space, the last of repeated keys wins
    QHash<QByteArray, QByteArray> headers; // lower-case names; repeated headers joined with ", "
    int minorVersion = 1;
    bool hasBody = false;

    // The decoded path, "/" for the root.
    QString pathText() const { return u'/' + path.join(u'/'); }
    QByteArray header(const QByteArray &lowerCaseName) const { return headers.value(lowerCaseName); }
    // Whether the client wants the connection kept after this answer.
    bool keepAlive() const;
    // The query value, or an empty text.
    QString queryValue(const QString &key) const { return query.value(key); }

    // Takes the request head at the start of `buffer` out of it. `request` is filled only when the
    // result is complete.
    static Parse take(QByteArray &buffer, HttpRequest &request);
};
