#pragma once

// What a list holds or shows, as texts in its order: compared with the expected list in one go, so
// that a failure shows both lists whole. Header only.

#include <QAbstractItemModel>
#include <QList>
#include <QStringList>

// One text field of every record.
template<typename Record> QStringList listed(const QList<Record> &records, QString Record::*field)
{
    QStringList texts;
    for (const Record &record : records)
        texts.append(record.*field);
    return texts;
}

// One role of every row of a list model.
inline QStringList listed(const QAbstractItemModel &model, int role)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts.append(model.index(row, 0).data(role).toString());
    return texts;
}
