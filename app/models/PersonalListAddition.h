#pragma once

#include "PersonalListContent.h"
#include "PersonalListDestination.h"

#include <QVariant>

// The add sheet: puts the content a personal-list button was given (channels, provider groups)
// into the chosen list.
class PersonalListAddition : public PersonalListDestination
{
    Q_OBJECT
    QML_ELEMENT
    // A PersonalListContent, as the models hand it out.
    Q_PROPERTY(QVariant content READ content WRITE setContent NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString headline READ headline NOTIFY contentChanged FINAL)
    // How linked groups will show; empty when nothing but channels is added.
    Q_PROPERTY(QString folderNote READ folderNote NOTIFY contentChanged FINAL)

public:
    explicit PersonalListAddition(QObject *parent = nullptr);

    QVariant content() const { return m_content.toVariant(); }
    void setContent(const QVariant &content);
    QString headline() const { return m_content.headline(); }
    QString folderNote() const { return m_content.folderNote(); }

Q_SIGNALS:
    void contentChanged();

protected:
    bool hasContent() const override { return !m_content.isEmpty(); }
    void addTo(const QUuid &list) override;

private:
    PersonalListContent m_content;
};
