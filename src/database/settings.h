#pragma once

#include "database_global.h"

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

// A hierarchical key-value store over a QSettings. Groups are kept by this object, not by
// the store: a store shared with others (the host's, or one file open several times) keeps
// its own group, and opening a group is allowed on a const Settings, since reading a nested
// structure is no change of it.
class DATABASE_EXPORT Settings
{
public:
    // An INI store in that file, owned.
    explicit Settings(const QString& iniFile);
    // The host's store; not owned, and must outlive this object. Keys are relative to the
    // store's current group.
    explicit Settings(QSettings* store);
    virtual ~Settings();

    void beginGroup(const QString& prefix) const;
    void endGroup() const;
    // The groups opened here, "a/b"; empty at the top.
    QString group() const;

    QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const;
    void setValue(const QString& key, const QVariant& value);
    bool contains(const QString& key) const;
    // Removes the key and everything below it; an empty key empties the current group.
    void remove(const QString& key);
    QStringList childGroups() const;
    QStringList childKeys() const;

    void sync();
    QSettings::Status status() const;
    QString fileName() const;

protected:
    // A null store reads as empty and ignores writes.
    Settings(QSettings* store, bool owned);

private:
    Q_DISABLE_COPY(Settings)

    QString prefix() const;
    QString fullKey(const QString& key) const;

    QSettings* m_store;
    bool m_owned;
    mutable QStringList m_groups;
};

// A Settings in the application's own store, placed in the group given. All objects of the
// process see each other's changes at once; everything is on disk when the last one is gone.
class DATABASE_EXPORT AppSettings : public Settings
{
public:
    explicit AppSettings(const QString& group);
    ~AppSettings() override;

    // The folder of the store, set by the host once at start; an empty text restores the
    // default, the user's configuration folder under "optcalc".
    static void setConfigDir(const QString& dir);
    static QString configDir();
    // configDir() + "/optcalc.ini".
    static QString storeFile();

private:
    Q_DISABLE_COPY(AppSettings)
};
