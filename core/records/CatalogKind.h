#pragma once

#include <QString>

#include <optional>

// The two kinds of an Xtream catalogue, movies first.
enum class CatalogKind { movies, series };

namespace CatalogKinds {
inline constexpr CatalogKind allCases[] = {CatalogKind::movies, CatalogKind::series};

QString rawValue(CatalogKind kind);
std::optional<CatalogKind> fromRawValue(QStringView raw);
// The name shown to the user, and the symbol of its icon.
QString title(CatalogKind kind);
QString symbol(CatalogKind kind);
} // namespace CatalogKinds
