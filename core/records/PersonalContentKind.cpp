#include "PersonalContentKind.h"

using namespace Qt::StringLiterals;

namespace PersonalContentKinds {

QString rawValue(PersonalContentKind kind)
{
    switch (kind) {
    case PersonalContentKind::live:
        return u"live"_s;
    case PersonalContentKind::movies:
        return u"movies"_s;
    case PersonalContentKind::series:
        return u"series"_s;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<PersonalContentKind> fromRawValue(QStringView raw)
{
    for (const PersonalContentKind kind : allCases) {
        if (raw == rawValue(kind))
            return kind;
    }
    return std::nullopt;
}

QString title(PersonalContentKind kind)
{
    switch (kind) {
    case PersonalContentKind::live:
        return u"TV en directe"_s;
    case PersonalContentKind::movies:
        return u"Pel·lícules"_s;
    case PersonalContentKind::series:
        return u"Sèries"_s;
    }
    Q_UNREACHABLE();
    return {};
}

QString symbol(PersonalContentKind kind)
{
    switch (kind) {
    case PersonalContentKind::live:
        return u"play.tv"_s;
    case PersonalContentKind::movies:
        return u"film"_s;
    case PersonalContentKind::series:
        return u"tv"_s;
    }
    Q_UNREACHABLE();
    return {};
}

PersonalContentKind fromCatalogKind(CatalogKind kind)
{
    return kind == CatalogKind::movies ? PersonalContentKind::movies : PersonalContentKind::series;
}

} // namespace PersonalContentKinds
