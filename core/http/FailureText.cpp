#include "FailureText.h"

#include "TransportError.h"
#include "records/IPTVError.h"

using namespace Qt::StringLiterals;

namespace FailureText {

QString of(const std::exception_ptr &error)
{
    const QString general =
        u"No s’ha pogut carregar la llista. Revisa l’adreça, les credencials i la resposta del servidor."_s;
    if (!error)
        return general;
    try {
        std::rethrow_exception(error);
    } catch (const IPTVError &iptvError) {
        return iptvError.message();
    } catch (const TransportError &transport) {
        switch (transport.kind()) {
        case TransportError::Kind::notConnectedToInternet:
            return u"No hi ha connexió a internet. Revisa la xarxa i torna-ho a provar."_s;
        case TransportError::Kind::timedOut:
            return u"El servidor triga massa a respondre. Torna-ho a provar."_s;
        case TransportError::Kind::cannotFindHost:
        case TransportError::Kind::cannotConnectToHost:
            return u"No es pot connectar amb el servidor. Revisa l’adreça."_s;
        case TransportError::Kind::secureConnectionFailed:
        case TransportError::Kind::serverCertificateUntrusted:
            return u"No s’ha pogut establir una connexió segura amb el servidor."_s;
        case TransportError::Kind::cancelled:
            return u"Càrrega cancel·lada."_s;
        case TransportError::Kind::other:
            return general;
        }
    } catch (...) {
        // Cancellation of the caller's task, malformed JSON and anything else.
    }
    return general;
}

} // namespace FailureText
