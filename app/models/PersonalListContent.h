#pragma once

#include "records/PersonalCategory.h"
#include "records/PersonalEntry.h"

#include <QList>
#include <QString>
#include <QVariant>

// What a personal-list button offers to add: single live channels, provider groups, or both. Views
// carry it as an opaque value from the model that made it (a channel row, a catalogue category) to
// the add sheet; the texts the sheet and the button show follow from it.
struct PersonalListContent
{
    QList<PersonalEntry> entries;
    QList<PersonalCategory> categories;

    bool isEmpty() const { return entries.isEmpty() && categories.isEmpty(); }

    // The sheet's headline: the one category's name; without categories the one entry's name or
    // "N canals seleccionats"; else "N agrupacions seleccionades".
    QString headline() const;
    // The compact button's accessible name: "Afegeix a una llista: " and the first category's
    // name, else the first entry's, else "contingut".
    QString compactLabel() const;
    // How linked groups will show, for one or several; empty without categories.
    QString folderNote() const;

    QVariant toVariant() const { return QVariant::fromValue(*this); }
    // Anything but a PersonalListContent reads as empty content.
    static PersonalListContent fromVariant(const QVariant &value);
};
