#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QString>

// The distinct groups of the active connection's channels, in the order a person reads them
// (LocalizedText::compare: case-insensitive, "a9" before "a10"), each with how many channels it holds.
// Filled by ChannelListModel whenever its channels change.
class ChannelCategoriesModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The channel list owns its categories.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        NameRole = Qt::UserRole + 1,
        ChannelCountRole,
    };
    Q_ENUM(Roles)

    struct Category
    {
        QString name;
        int channels = 0;
        friend bool operator==(const Category &, const Category &) = default;
    };

    explicit ChannelCategoriesModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_categories.size()); }
    const QList<Category> &categories() const { return m_categories; }
    // The names in display order.
    QStringList names() const;

    // `categories` in display order. Runs on any thread.
    static QList<Category> sortedForDisplay(QList<Category> categories);
    // Replaces the list with `categories` sorted for display; one reset, and only when it changes.
    void setCategories(QList<Category> categories);
    // The same for a list already in display order.
    void setSortedCategories(QList<Category> categories);

Q_SIGNALS:
    void countChanged();

private:
    QList<Category> m_categories;
};
