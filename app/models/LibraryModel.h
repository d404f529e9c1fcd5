#pragma once

#include <QObject>
#include <QString>

#include <exception>

// The application's central model. For now it holds the one translation of failures into the text
// shown to the user; connections, channels and playback join it as they are built.
class LibraryModel : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The user-facing Catalan text for any failure: an IPTVError's own message, a fixed sentence
    // per kind of transport failure, and one general sentence for everything else.
    static QString safeError(const std::exception_ptr &error);
};
