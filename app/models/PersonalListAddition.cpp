#include "PersonalListAddition.h"

#include "PersonalListsModel.h"
#include "stores/PersonalLists.h"

PersonalListAddition::PersonalListAddition(QObject *parent)
    : PersonalListDestination(parent)
{
}

void PersonalListAddition::setContent(const QVariant &content)
{
    m_content = PersonalListContent::fromVariant(content);
    Q_EMIT contentChanged();
    updateCanAdd();
}

void PersonalListAddition::addTo(const QUuid &list)
{
    lists()->store().add(m_content.entries, m_content.categories, list);
}
