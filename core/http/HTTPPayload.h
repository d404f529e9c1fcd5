#pragma once

#include <QByteArray>
#include <QUrl>

// The body of a successful download and the address it finally came from, after redirects.
struct HTTPPayload
{
    QByteArray data;
    QUrl url;
};
