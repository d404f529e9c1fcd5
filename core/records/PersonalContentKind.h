#pragma once

#include "CatalogKind.h"

#include <QString>

#include <optional>

// What a personal list entry or linked group holds.
enum class PersonalContentKind { live, movies, series };

namespace PersonalContentKinds {
inline constexpr PersonalContentKind allCases[] = {PersonalContentKind::live, PersonalContentKind::movies,
                                                   PersonalContentKind::series};

QString rawValue(PersonalContentKind kind);
std::optional<PersonalContentKind> fromRawValue(QStringView raw);
QString title(PersonalContentKind kind);
QString symbol(PersonalContentKind kind);
PersonalContentKind fromCatalogKind(CatalogKind kind);
} // namespace PersonalContentKinds
