#pragma once

#include <QString>

// What a person reads when an Xtream Codes answer cannot be used, as the readers word it.
namespace XtreamTexts {

// The account answer.
inline const QString notAnAccount = QStringLiteral("Resposta Xtream no vàlida.");
inline const QString refused = QStringLiteral("El servidor no ha acceptat l’usuari o la contrasenya.");
inline const QString inactive = QStringLiteral("El compte del servidor no està actiu.");
inline const QString noFormat = QStringLiteral("Aquest servidor no ofereix fluxos HLS ni MPEG-TS compatibles.");

// Live categories and streams.
inline const QString badLiveCatalogue = QStringLiteral("Catàleg Xtream no vàlid.");
inline const QString noLiveChannels = QStringLiteral("El servidor no ha retornat canals en directe.");

// Movie and series lists.
inline const QString badCatalogue = QStringLiteral("El servidor no ha retornat un catàleg vàlid.");

// The detail of a title.
inline const QString badDetail = QStringLiteral("La fitxa retornada pel servidor no és vàlida.");
inline const QString noDetail = QStringLiteral("El servidor no ha retornat la fitxa d’aquest títol.");
inline const QString detailRefused = QStringLiteral("El servidor no permet accedir a aquesta fitxa.");
inline const QString badVideoFormat = QStringLiteral("El servidor ha retornat un format de vídeo no vàlid.");

} // namespace XtreamTexts
