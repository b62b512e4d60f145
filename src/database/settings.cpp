#include "settings.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QStandardPaths>

namespace {

// QSettings reads "/" and "\" as group separators, so such a key names no value.
bool isBlankKey(const QString& key)
{
    for (const QChar c : key) {
        if (c != QLatin1Char('/') && c != QLatin1Char('\\'))
            return false;
    }
    return true;
}

struct ConfigDirState
{
    QMutex mutex;
    QString dir;
    QSet<QString> reported;
};
Q_GLOBAL_STATIC(ConfigDirState, configState)

// A broken store would otherwise complain at every window that opens it.
void warnOnce(const QString& what, const QString& message)
{
    {
        QMutexLocker lock(&configState()->mutex);
        if (configState()->reported.contains(what))
            return;
        configState()->reported.insert(what);
    }
    qWarning("%s", qPrintable(message));
}

QString freeBadName(const QString& file)
{
    QString candidate = file + QStringLiteral(".bad");
    for (int n = 2; QFileInfo::exists(candidate) && n < 1000; ++n)
        candidate = file + QStringLiteral(".bad.%1").arg(n);
    return candidate;
}

// The application store, or null when a damaged file can be neither read nor moved aside:
// then nothing may be written over it.
QSettings* openAppStore()
{
    const QString file = AppSettings::storeFile();
    if (QFileInfo::exists(file)) {
        QSettings::Status status;
        {
            QSettings probe(file, QSettings::IniFormat);
            status = probe.status();
        }
        if (status != QSettings::NoError) {
            // QSettings would rewrite a damaged file with whatever it understood of it, so
            // the original goes aside first, where the user can still get at it.
            const QString bad = freeBadName(file);
            const char* problem = status == QSettings::FormatError ? "is corrupt" : "is unreadable";
            if (!QDir().rename(file, bad)) {
                warnOnce(file, QStringLiteral("Settings file %1 %2 and cannot be moved aside; "
                                              "defaults are used and changes are not saved")
                                   .arg(file, QLatin1String(problem)));
                return nullptr;
            }
            warnOnce(file, QStringLiteral("Settings file %1 %2; kept as %3, defaults are used")
                               .arg(file, QLatin1String(problem), bad));
        }
    }
    return new QSettings(file, QSettings::IniFormat);
}

} // namespace

Settings::Settings(const QString& iniFile)
    : Settings(new QSettings(iniFile, QSettings::IniFormat), true)
{
}

Settings::Settings(QSettings* store) : Settings(store, false) {}

Settings::Settings(QSettings* store, bool owned) : m_store(store), m_owned(owned) {}

Settings::~Settings()
{
    if (m_owned)
        delete m_store; // syncs
}

void Settings::beginGroup(const QString& prefix) const
{
    m_groups.append(prefix);
}

void Settings::endGroup() const
{
    if (m_groups.isEmpty()) {
        qWarning("Settings::endGroup: no group is open");
        return;
    }
    m_groups.removeLast();
}

QString Settings::group() const
{
    return prefix();
}

QString Settings::prefix() const
{
    QString result;
    for (const QString& g : m_groups) {
        if (g.isEmpty())
            continue;
        if (!result.isEmpty())
            result += QLatin1Char('/');
        result += g;
    }
    return result;
}

QString Settings::fullKey(const QString& key) const
{
    const QString p = prefix();
    return p.isEmpty() ? key : p + QLatin1Char('/') + key;
}

QVariant Settings::value(const QString& key, const QVariant& defaultValue) const
{
    if (!m_store || isBlankKey(key))
        return defaultValue;
    return m_store->value(fullKey(key), defaultValue);
}

void Settings::setValue(const QString& key, const QVariant& value)
{
    // A blank key would land on the group's own name one level up.
    if (!m_store || isBlankKey(key))
        return;
    m_store->setValue(fullKey(key), value);
}

bool Settings::contains(const QString& key) const
{
    if (!m_store || isBlankKey(key))
        return false;
    return m_store->contains(fullKey(key));
}

void Settings::remove(const QString& key)
{
    if (!m_store)
        return;
    if (isBlankKey(key)) {
        const QString p = prefix();
        m_store->remove(p); // empty: everything of the store's own group
        return;
    }
    m_store->remove(fullKey(key));
}

QStringList Settings::childGroups() const
{
    if (!m_store)
        return QStringList();
    const QString p = prefix();
    if (p.isEmpty())
        return m_store->childGroups();
    m_store->beginGroup(p);
    const QStringList result = m_store->childGroups();
    m_store->endGroup();
    return result;
}

QStringList Settings::childKeys() const
{
    if (!m_store)
        return QStringList();
    const QString p = prefix();
    if (p.isEmpty())
        return m_store->childKeys();
    m_store->beginGroup(p);
    const QStringList result = m_store->childKeys();
    m_store->endGroup();
    return result;
}

void Settings::sync()
{
    if (m_store)
        m_store->sync();
}

QSettings::Status Settings::status() const
{
    return m_store ? m_store->status() : QSettings::AccessError;
}

QString Settings::fileName() const
{
    return m_store ? m_store->fileName() : QString();
}

// QSettings objects of one file share its content within the process, so each AppSettings
// has its own (usable from any thread) and still sees the others' changes at once.
AppSettings::AppSettings(const QString& group) : Settings(openAppStore(), true)
{
    beginGroup(group);
}

AppSettings::~AppSettings()
{
    sync();
    if (status() == QSettings::AccessError && !fileName().isEmpty())
        warnOnce(fileName() + QStringLiteral("#write"),
                 QStringLiteral("Settings file %1 cannot be written").arg(fileName()));
}

void AppSettings::setConfigDir(const QString& dir)
{
    QMutexLocker lock(&configState()->mutex);
    configState()->dir = dir.isEmpty() ? QString() : QDir::cleanPath(QDir(dir).absolutePath());
}

QString AppSettings::configDir()
{
    {
        QMutexLocker lock(&configState()->mutex);
        if (!configState()->dir.isEmpty())
            return configState()->dir;
    }
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/optcalc");
}

QString AppSettings::storeFile()
{
    return configDir() + QStringLiteral("/optcalc.ini");
}
