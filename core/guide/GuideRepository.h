#pragma once

#include "GuideData.h"
#include "GuideWindow.h"
#include "XmltvParser.h"
#include "http/HTTPClient.h"

#include <QCoroTask>
#include <QList>
#include <QUrl>

// Loads the programme guide of a connection from one or more XMLTV addresses: each is downloaded
// through HTTPClient::fetch (its caps and messages; a compressed transfer is inflated by the network
// stack), read off the main thread by XmltvParser (a ".gz" file is told by its bytes and inflated
// there, up to `maximumBytes` of XML), and the guides are merged. Holds no state but its transport.
//
// One address that fails does not spoil the others: the guide is what the others gave. When every
// address fails, the first failure is thrown; a cancelled load throws CancelledError.
class GuideRepository
{
public:
    explicit GuideRepository(HTTPClient::Fetch fetch = HTTPClient::defaultFetch());

    QCoro::Task<GuideData> load(QList<QUrl> addresses, GuideWindow window, CancellationToken cancellation = {},
                                qint64 maximumBytes = XmltvParser::defaultMaximumBytes) const;

    static QString invalidAddressMessage();

private:
    HTTPClient::Fetch m_fetch;
};
