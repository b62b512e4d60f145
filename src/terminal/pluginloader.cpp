#include "pluginloader.h"

#include "errorreporter.h"

#include "c_api/icore.h"
#include "c_api/iplugin.h"
#include "c_api/iviewprovider.h"
#include "c_api/viewregistry.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>

namespace {

QString versionText(int word)
{
    return QStringLiteral("%1.%2.%3").arg(word >> 16).arg((word >> 8) & 0xff).arg(word & 0xff);
}

} // namespace

PluginLoader::PluginLoader(QObject* parent) : QObject(parent) {}

PluginLoader::~PluginLoader() = default;

QString PluginLoader::defaultDir()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/plugins");
}

void PluginLoader::load(const QString& dir)
{
    const QDir folder(dir);
    if (!folder.exists()) {
        qWarning("%s", qPrintable(tr("Папка модулей %1 не найдена").arg(folder.absolutePath())));
        return;
    }
    const QFileInfoList files = folder.entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        if (!QLibrary::isLibrary(file.fileName()))
            continue;
        bool known = false;
        for (const PluginRecord& r : qAsConst(m_records))
            known = known || r.fileName == file.absoluteFilePath();
        if (known)
            continue;
        PluginRecord record = loadFile(file.absoluteFilePath());
        if (record.state == PluginRecord::Failed)
            qWarning("%s",
                     qPrintable(tr("Модуль %1 пропущен: %2").arg(record.fileName, record.error)));
        m_records.append(record);
    }
}

PluginRecord PluginLoader::loadFile(const QString& fileName) const
{
    PluginRecord record;
    record.fileName = fileName;
    QPluginLoader loader(fileName);
    const QJsonObject meta = loader.metaData();
    if (meta.isEmpty()) {
        record.error = tr("файл не является модулем Qt");
        return record;
    }
    record.iid = meta.value(QStringLiteral("IID")).toString();
    record.className = meta.value(QStringLiteral("className")).toString();
    record.qtVersion = meta.value(QStringLiteral("version")).toInt();
    QObject* instance = loader.instance();
    if (!instance) {
        record.error = tr("модуль не загружается: %1").arg(loader.errorString());
        return record;
    }
    IPlugin* plugin = qobject_cast<IPlugin*>(instance);
    if (!plugin) {
        // The library stays loaded: its root object may have handed out objects already.
        record.error = tr("модуль не реализует интерфейс IPlugin");
        return record;
    }
    record.instance = instance;
    const bool named = ErrorReporter::guard(tr("Модуль %1").arg(fileName), [&] {
        record.pluginName = plugin->pluginName();
        record.displayName = plugin->displayName();
        record.vendor = plugin->vendor();
        record.version = plugin->version();
        record.description = plugin->description();
    });
    if (!named) {
        record.error = tr("модуль не сообщает своё имя");
        return record;
    }
    if (record.pluginName.isEmpty()) {
        record.error = tr("у модуля нет имени");
        return record;
    }
    if (nameTaken(record.pluginName)) {
        record.error = tr("модуль с именем %1 уже загружен").arg(record.pluginName);
        return record;
    }
    record.state = PluginRecord::Loaded;
    return record;
}

bool PluginLoader::nameTaken(const QString& pluginName) const
{
    for (const PluginRecord& r : m_records) {
        if (r.state != PluginRecord::Failed && r.pluginName == pluginName)
            return true;
    }
    return false;
}

void PluginLoader::initialize(ICore* core)
{
    QList<IPlugin*> initialized;
    for (PluginRecord& record : m_records) {
        if (record.state != PluginRecord::Loaded || !record.instance)
            continue;
        IPlugin* plugin = qobject_cast<IPlugin*>(record.instance.data());
        const QString title =
            tr("Ошибка модуля «%1»")
                .arg(record.displayName.isEmpty() ? QFileInfo(record.fileName).fileName()
                                                  : record.displayName);
        const bool ok = ErrorReporter::guard(title, [&] {
            plugin->initialize(core);
            if (auto* provider = qobject_cast<IViewProvider*>(record.instance.data()))
                core->viewFactories()->addProvider(provider);
        });
        if (!ok) {
            record.state = PluginRecord::Failed;
            record.error = tr("ошибка при инициализации");
            continue;
        }
        core->addPlugin(record.instance);
        record.state = PluginRecord::Initialized;
        initialized.append(plugin);
    }
    for (IPlugin* plugin : qAsConst(initialized))
        ErrorReporter::guard(tr("Ошибка модуля"), [plugin] { plugin->pluginHookFirst(); });
}

void PluginLoader::shutdown()
{
    for (PluginRecord& record : m_records) {
        if (record.state != PluginRecord::Initialized || !record.instance)
            continue;
        IPlugin* plugin = qobject_cast<IPlugin*>(record.instance.data());
        ErrorReporter::guard(tr("Ошибка модуля"), [plugin] { plugin->pluginHookSecond(); });
    }
    for (PluginRecord& record : m_records) {
        if (record.state == PluginRecord::Initialized)
            delete record.instance.data();
    }
}

QString PluginLoader::listing() const
{
    QString text;
    for (const PluginRecord& r : m_records) {
        text += QFileInfo(r.fileName).fileName() + QLatin1Char('\n');
        text += QStringLiteral("  file: %1\n").arg(r.fileName);
        if (!r.iid.isEmpty() || !r.className.isEmpty()) {
            text += QStringLiteral("  IID: %1\n").arg(r.iid);
            text += QStringLiteral("  className: %1\n").arg(r.className);
            text += QStringLiteral("  version: %1\n").arg(versionText(r.qtVersion));
        }
        if (r.state == PluginRecord::Failed) {
            text += QStringLiteral("  %1: %2\n").arg(tr("ошибка"), r.error);
            continue;
        }
        text += QStringLiteral("  pluginName: %1\n").arg(r.pluginName);
        text += QStringLiteral("  displayName: %1\n").arg(r.displayName);
        text += QStringLiteral("  vendor: %1\n").arg(r.vendor);
        text += QStringLiteral("  version(): %1\n").arg(r.version);
    }
    return text;
}
