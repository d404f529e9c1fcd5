#include "async/Cancellation.h"
#include "http/TransportError.h"
#include "models/LibraryModel.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"

#include <QTest>

#include <stdexcept>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::exception_ptr)
Q_DECLARE_METATYPE(TransportError::Kind)

namespace {

const QString noInternet = u"No hi ha connexió a internet. Revisa la xarxa i torna-ho a provar."_s;
const QString tooSlow = u"El servidor triga massa a respondre. Torna-ho a provar."_s;
const QString cannotConnect = u"No es pot connectar amb el servidor. Revisa l’adreça."_s;
const QString insecure = u"No s’ha pogut establir una connexió segura amb el servidor."_s;
const QString cancelledLoad = u"Càrrega cancel·lada."_s;
const QString general
    = u"No s’ha pogut carregar la llista. Revisa l’adreça, les credencials i la resposta del servidor."_s;

std::exception_ptr transport(TransportError::Kind kind)
{
    return std::make_exception_ptr(TransportError(kind, QNetworkReply::UnknownNetworkError, u"detail"_s));
}

} // namespace

class TestSafeError : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textForEveryFailure_data()
    {
        QTest::addColumn<std::exception_ptr>("error");
        QTest::addColumn<QString>("text");

        using Kind = TransportError::Kind;
        QTest::newRow("IPTVError, its own message")
            << std::make_exception_ptr(IPTVError(u"La llista supera el límit de 25 MB."_s))
            << u"La llista supera el límit de 25 MB."_s;
        QTest::newRow("no connection to the internet")
            << transport(Kind::notConnectedToInternet) << noInternet;
        QTest::newRow("timed out") << transport(Kind::timedOut) << tooSlow;
        QTest::newRow("cannot find the host") << transport(Kind::cannotFindHost) << cannotConnect;
        QTest::newRow("cannot connect to the host") << transport(Kind::cannotConnectToHost) << cannotConnect;
        QTest::newRow("secure connection failed") << transport(Kind::secureConnectionFailed) << insecure;
        QTest::newRow("certificate untrusted") << transport(Kind::serverCertificateUntrusted) << insecure;
        QTest::newRow("transfer cancelled") << transport(Kind::cancelled) << cancelledLoad;
        QTest::newRow("other transport failure") << transport(Kind::other) << general;
        QTest::newRow("CancelledError") << std::make_exception_ptr(CancelledError()) << general;
        QTest::newRow("JsonError") << std::make_exception_ptr(JsonError(u"key \"name\": missing"_s))
                                   << general;
        QTest::newRow("runtime_error") << std::make_exception_ptr(std::runtime_error("boom")) << general;
        QTest::newRow("not an exception class") << std::make_exception_ptr(42) << general;
        QTest::newRow("no failure at all") << std::exception_ptr() << general;
    }

    void textForEveryFailure()
    {
        QFETCH(std::exception_ptr, error);
        QFETCH(QString, text);

        QCOMPARE(LibraryModel::safeError(error), text);
    }

    void classifiesNetworkErrors_data()
    {
        QTest::addColumn<QNetworkReply::NetworkError>("error");
        QTest::addColumn<TransportError::Kind>("kind");

        using Kind = TransportError::Kind;
        QTest::newRow("host not found") << QNetworkReply::HostNotFoundError << Kind::cannotFindHost;
        QTest::newRow("connection refused")
            << QNetworkReply::ConnectionRefusedError << Kind::cannotConnectToHost;
        QTest::newRow("time-out") << QNetworkReply::TimeoutError << Kind::timedOut;
        QTest::newRow("TLS handshake")
            << QNetworkReply::SslHandshakeFailedError << Kind::secureConnectionFailed;
        QTest::newRow("network session")
            << QNetworkReply::NetworkSessionFailedError << Kind::notConnectedToInternet;
        QTest::newRow("temporary network failure")
            << QNetworkReply::TemporaryNetworkFailureError << Kind::notConnectedToInternet;
        QTest::newRow("background request not allowed")
            << QNetworkReply::BackgroundRequestNotAllowedError << Kind::notConnectedToInternet;
        QTest::newRow("operation cancelled") << QNetworkReply::OperationCanceledError << Kind::cancelled;
        QTest::newRow("remote host closed") << QNetworkReply::RemoteHostClosedError << Kind::other;
        QTest::newRow("unknown network error") << QNetworkReply::UnknownNetworkError << Kind::other;
    }

    void classifiesNetworkErrors()
    {
        QFETCH(QNetworkReply::NetworkError, error);
        QFETCH(TransportError::Kind, kind);

        const TransportError transportError = TransportError::fromNetworkError(error, u"Connexió perduda"_s);
        QCOMPARE(transportError.kind(), kind);
        QCOMPARE(transportError.networkError(), error);
        QCOMPARE(QString::fromUtf8(transportError.what()), u"Connexió perduda"_s);
    }
};

QTEST_GUILESS_MAIN(TestSafeError)
#include "tst_safe_error.moc"
