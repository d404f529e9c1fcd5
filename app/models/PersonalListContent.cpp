#include "PersonalListContent.h"

using namespace Qt::StringLiterals;

QString PersonalListContent::headline() const
{
    if (categories.size() == 1)
        return categories.constFirst().name();
    if (categories.isEmpty()) {
        if (entries.size() == 1)
            return entries.constFirst().name();
        return QString::number(entries.size()) + u" canals seleccionats"_s;
    }
    return QString::number(categories.size()) + u" agrupacions seleccionades"_s;
}

QString PersonalListContent::compactLabel() const
{
    QString what = u"contingut"_s;
    if (!categories.isEmpty())
        what = categories.constFirst().name();
    else if (!entries.isEmpty())
        what = entries.constFirst().name();
    return u"Afegeix a una llista: "_s + what;
}

QString PersonalListContent::folderNote() const
{
    if (categories.isEmpty())
        return QString();
    if (categories.size() == 1)
        return u"L’agrupació es mostrarà com una carpeta. En obrir-la veuràs el catàleg del proveïdor, incloses les novetats."_s;
    return u"Cada agrupació es mostrarà com una carpeta amb el catàleg del proveïdor, incloses les novetats."_s;
}

PersonalListContent PersonalListContent::fromVariant(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<PersonalListContent>())
        return value.value<PersonalListContent>();
    return {};
}
