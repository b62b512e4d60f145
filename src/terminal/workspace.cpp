#include "workspace.h"

#include "errorreporter.h"
#include "viewframe.h"
#include "windowmanager.h"

#include "c_api/icore.h"
#include "c_api/iview.h"
#include "c_api/viewregistry.h"
#include "database/settings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMainWindow>
#include <QSettings>

#include <algorithm>

namespace {

const int FormatVersion = 1;
const char* const FormatKey = "Workspace/format";
const char* const CountKey = "Workspace/views";
const char* const MainGeometryKey = "Workspace/geometry";
const char* const MainStateKey = "Workspace/state";

QString viewGroup(int number)
{
    return QStringLiteral("view_%1").arg(number);
}

QVariantMap readGroup(QSettings& store, const QString& group)
{
    QVariantMap values;
    store.beginGroup(group);
    const QStringList keys = store.allKeys();
    for (const QString& key : keys)
        values.insert(key, store.value(key));
    store.endGroup();
    return values;
}

void writeGroup(QSettings& store, const QString& group, const QVariantMap& values)
{
    store.beginGroup(group);
    for (auto it = values.constBegin(); it != values.constEnd(); ++it)
        store.setValue(it.key(), it.value());
    store.endGroup();
}

} // namespace

Workspace::Workspace(const QString& fileName) : m_fileName(fileName) {}

bool Workspace::readHeader(int* count) const
{
    // A store of its own, closed before the file may be moved aside.
    QSettings store(m_fileName, QSettings::IniFormat);
    bool formatOk = false;
    const int format = store.value(QLatin1String(FormatKey)).toInt(&formatOk);
    bool countOk = false;
    *count = store.value(QLatin1String(CountKey)).toInt(&countOk);
    return store.status() == QSettings::NoError && formatOk && format == FormatVersion && countOk &&
           *count >= 0;
}

bool Workspace::moveAside(const QString& reason)
{
    QString aside = m_fileName + QStringLiteral(".corrupt");
    for (int n = 2; QFileInfo::exists(aside) && n < 1000; ++n)
        aside = m_fileName + QStringLiteral(".corrupt.%1").arg(n);
    if (!QFile::rename(m_fileName, aside)) {
        m_saveBlocked = true;
        m_notice = tr("Рабочее пространство %1 %2 и не может быть отложено; окна не "
                      "восстановлены, изменения не сохраняются")
                       .arg(m_fileName, reason);
        return false;
    }
    m_notice = tr("Рабочее пространство %1 %2; сохранено как %3, окна не восстановлены")
                   .arg(m_fileName, reason, aside);
    return true;
}

int Workspace::restore(WindowManager* manager, QMainWindow* mainWindow)
{
    m_notice.clear();
    m_keptViews.clear();
    m_saveBlocked = false;
    if (!QFileInfo::exists(m_fileName))
        return 0;
    {
        QFile probe(m_fileName);
        if (!probe.open(QIODevice::ReadOnly)) {
            moveAside(tr("не читается"));
            return 0;
        }
    }

    int count = 0;
    if (!readHeader(&count)) {
        moveAside(tr("повреждено"));
        return 0;
    }

    QSettings store(m_fileName, QSettings::IniFormat);
    if (mainWindow) {
        mainWindow->restoreGeometry(store.value(QLatin1String(MainGeometryKey)).toByteArray());
        mainWindow->restoreState(store.value(QLatin1String(MainStateKey)).toByteArray());
    }

    ICore* core = ICore::instance();
    int opened = 0;
    // By the numbers of the groups, whatever the count says.
    QList<int> numbers;
    const QStringList groups = store.childGroups();
    for (const QString& group : groups) {
        bool ok = false;
        const int number = group.startsWith(QLatin1String("view_")) ? group.mid(5).toInt(&ok) : 0;
        if (ok && number > 0 && group == viewGroup(number))
            numbers.append(number);
    }
    std::sort(numbers.begin(), numbers.end());
    for (int number : qAsConst(numbers)) {
        const QString group = viewGroup(number);
        Settings settings(&store);
        settings.beginGroup(group);
        const QString viewId = settings.value(QStringLiteral("viewId")).toString();
        if (viewId.isEmpty())
            continue;
        const bool known = core && core->viewFactories()->hasFactory(viewId.toUtf8());
        IView* view = nullptr;
        if (known && manager)
            view =
                manager->restoreView(viewId, settings.value(QStringLiteral("key")).toString(),
                                     settings.value(QStringLiteral("userTitle")).toString(),
                                     settings.value(QStringLiteral("geometry")).toRect(), settings);
        if (view)
            ++opened;
        else
            m_keptViews.append(readGroup(store, group));
    }
    return opened;
}

bool Workspace::save(WindowManager* manager, const QMainWindow* mainWindow)
{
    if (m_saveBlocked)
        return false;
    QDir().mkpath(QFileInfo(m_fileName).absolutePath());
    QSettings store(m_fileName, QSettings::IniFormat);
    // QSettings then writes a complete new file and renames it over the old one.
    store.setAtomicSyncRequired(true);
    store.clear();
    store.setValue(QLatin1String(FormatKey), FormatVersion);

    int count = 0;
    const QList<IView*> views = manager ? manager->views() : QList<IView*>();
    for (IView* view : views) {
        auto* widget = dynamic_cast<QWidget*>(view);
        const QByteArray viewId = manager->viewIdOf(view);
        if (!widget || viewId.isEmpty())
            continue;
        const QString group = viewGroup(count + 1);
        Settings settings(&store);
        settings.beginGroup(group);
        settings.setValue(QStringLiteral("viewId"), QString::fromUtf8(viewId));
        settings.setValue(QStringLiteral("key"),
                          widget->property(IWindowManager::ExtraKeyProperty).toString());
        settings.setValue(QStringLiteral("userTitle"),
                          widget->property(WindowManager::UserTitleProperty).toString());
        if (ViewFrame* frame = manager->frameOf(view))
            settings.setValue(QStringLiteral("geometry"), frame->geometry());
        const bool stored =
            ErrorReporter::guard(tr("Не удалось сохранить окно «%1»").arg(widget->windowTitle()),
                                 [&] { view->store(settings); });
        if (stored)
            ++count;
        else
            settings.remove(QString());
    }
    for (const QVariantMap& kept : qAsConst(m_keptViews))
        writeGroup(store, viewGroup(++count), kept);
    store.setValue(QLatin1String(CountKey), count);
    if (mainWindow) {
        store.setValue(QLatin1String(MainGeometryKey), mainWindow->saveGeometry());
        store.setValue(QLatin1String(MainStateKey), mainWindow->saveState());
    }
    store.sync();
    if (store.status() != QSettings::NoError) {
        m_notice = tr("Рабочее пространство %1 не записано").arg(m_fileName);
        return false;
    }
    return true;
}
