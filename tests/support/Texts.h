#pragma once

// The Catalan messages several tests compare against, written once, exactly as the user reads them.
// Each test still compares the whole text: a message that changes by one character fails it.

#include <QString>

namespace Texts {

inline const QString generalFailure
    = QStringLiteral("No s’ha pogut carregar la llista. Revisa l’adreça, les credencials i la resposta del servidor.");
inline const QString invalidCatalogue = QStringLiteral("El servidor no ha retornat un catàleg vàlid.");
inline const QString denied = QStringLiteral("Accés denegat. Revisa l’usuari, la contrasenya i els permisos.");
inline const QString missingCategory = QStringLiteral("Aquesta agrupació ja no està disponible al proveïdor.");
inline const QString resumeNotConfirmed = QStringLiteral(
    "El servidor no ha confirmat el punt de represa. Pots avançar manualment amb la barra temporal.");
inline const QString keychainUnavailable
    = QStringLiteral("El Clauer no està disponible. Torna a obrir l’aplicació després de desbloquejar-lo.");
inline const QString takenListName = QStringLiteral("Ja tens una llista personal amb aquest nom.");
inline const QString listNameLength = QStringLiteral("Escriu un nom d’entre 1 i 80 caràcters.");

inline QString httpError(int status)
{
    return QStringLiteral("El servidor ha respost amb l’error HTTP %1.").arg(status);
}

inline QString keychainReadFailure(int status)
{
    return QStringLiteral("No s’ha pogut llegir el Clauer (codi %1). Desbloqueja el Clauer i torna a obrir "
                          "l’aplicació.")
        .arg(status);
}

inline QString keychainWriteFailure(int status)
{
    return QStringLiteral("No s’ha pogut desar la connexió al Clauer (codi %1).").arg(status);
}

} // namespace Texts
