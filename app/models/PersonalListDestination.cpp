#include "PersonalListDestination.h"

#include "Publish.h"
#include "PersonalListsModel.h"

using namespace Qt::StringLiterals;

PersonalListDestination::PersonalListDestination(QObject *parent)
    : QObject(parent)
{
}

void PersonalListDestination::setLists(PersonalListsModel *lists)
{
    if (m_lists == lists)
        return;
    if (m_lists)
        disconnect(m_lists, nullptr, this, nullptr);
    m_lists = lists;
    if (m_lists) {
        // Names and rows move with the store; the chosen list stays chosen by its id.
        connect(m_lists, &QAbstractItemModel::modelReset, this, &PersonalListDestination::destinationChanged);
    }
    Q_EMIT listsChanged();
    Q_EMIT destinationChanged();
}

QStringList PersonalListDestination::destinationNames() const
{
    QStringList names{u"Crea una llista nova…"_s};
    if (m_lists) {
        for (int row = 0; row < m_lists->count(); ++row)
            names.append(m_lists->data(m_lists->index(row), PersonalListsModel::NameRole).toString());
    }
    return names;
}

int PersonalListDestination::destinationIndex() const
{
    if (!m_destination)
        return 0;
    const int row = m_lists ? m_lists->rowOf(*m_destination) : -1;
    return row < 0 ? -1 : row + 1;
}

void PersonalListDestination::setDestinationIndex(int index)
{
    std::optional<QUuid> destination;
    if (index > 0 && m_lists && index <= m_lists->count())
        destination = m_lists->idAt(index - 1);
    if (publish(this, m_destination, std::move(destination), &PersonalListDestination::destinationChanged))
        updateCanAdd();
}

void PersonalListDestination::setNewName(const QString &name)
{
    if (publish(this, m_newName, name, &PersonalListDestination::newNameChanged))
        updateCanAdd();
}

void PersonalListDestination::prepare()
{
    setDestinationIndex(m_lists && m_lists->count() > 0 ? 1 : 0);
    setNewName(QString());
    setError(QString());
    updateCanAdd();
}

bool PersonalListDestination::add()
{
    if (!m_canAdd || !m_lists)
        return false;
    QUuid list;
    if (m_destination) {
        list = *m_destination;
    } else {
        const QVariantMap created = m_lists->create(m_newName);
        if (created.contains(u"error"_s)) {
            setError(created.value(u"error"_s).toString());
            return false;
        }
        list = QUuid::fromString(created.value(u"id"_s).toString());
    }
    setError(QString());
    addTo(list);
    return true;
}

void PersonalListDestination::updateCanAdd()
{
    const bool named = !m_newName.trimmed().isEmpty();
    publish(this, m_canAdd, hasContent() && (m_destination.has_value() || named),
        &PersonalListDestination::canAddChanged);
}

void PersonalListDestination::setError(const QString &error)
{
    publish(this, m_error, error, &PersonalListDestination::errorChanged);
}
