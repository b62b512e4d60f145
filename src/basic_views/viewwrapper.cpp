#include "viewwrapper.h"

#include "exporterproxymodel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QScopedPointer>
#include <QTimer>

ViewWrapper::ViewWrapper(QAbstractItemView* view)
    : QObject(view), m_view(view), m_rewrite(new QTimer(this))
{
    // A burst of changes is written once.
    m_rewrite->setSingleShot(true);
    m_rewrite->setInterval(0);
    connect(m_rewrite, &QTimer::timeout, this, &ViewWrapper::writeDynamic);
}

ViewWrapper::~ViewWrapper() = default;

QString ViewWrapper::title() const
{
    if (!m_title.isEmpty() || !m_view)
        return m_title;
    if (!m_view->windowTitle().isEmpty())
        return m_view->windowTitle();
    return m_view->QWidget::window()->windowTitle();
}

QList<int> ViewWrapper::columnsAll() const
{
    QList<int> columns;
    const QAbstractItemModel* model = m_view ? m_view->model() : nullptr;
    const int count = model ? model->columnCount() : 0;
    for (int column = 0; column < count; ++column)
        columns << column;
    return columns;
}

QList<int> ViewWrapper::columnsExport() const
{
    return columnsAll();
}

QList<int> ViewWrapper::rowsExport() const
{
    QList<int> rows;
    const QAbstractItemModel* model = m_view ? m_view->model() : nullptr;
    const int count = model ? model->rowCount() : 0;
    rows.reserve(count);
    for (int row = 0; row < count; ++row)
        rows << row;
    return rows;
}

ExporterProxyModel* ViewWrapper::createExporterModel() const
{
    QAbstractItemModel* model = m_view ? m_view->model() : nullptr;
    if (!model)
        return nullptr;
    auto* proxy = new ExporterProxyModel(model, columnsExport());
    const QList<int> rows = rowsExport();
    bool all = rows.size() == model->rowCount();
    for (int i = 0; all && i < rows.size(); ++i)
        all = rows.at(i) == i;
    if (!all)
        proxy->setRows(rows);
    return proxy;
}

void ViewWrapper::exportData()
{
    QSharedPointer<ExporterProxyModel> proxy(createExporterModel());
    if (proxy)
        FileExporter::instance()->exportModel(proxy, title(), tr("Экспорт"));
}

void ViewWrapper::exportDynamic(bool enable)
{
    if (enable == m_dynamic)
        return;
    if (enable) {
        if (!m_view || !m_view->model())
            return;
        FileExporter::Format format = FileExporter::Csv;
        const QString path =
            FileExporter::instance()->chooseFile(title(), tr("Динамический экспорт"), &format);
        if (path.isEmpty())
            return;
        m_dynamicPath = path;
        m_dynamicFormat = format;
        m_dynamic = true;
        followModel(true);
        emit exportDynamicChanged(true);
        writeDynamic();
    } else {
        m_dynamic = false;
        followModel(false);
        m_rewrite->stop();
        emit exportDynamicChanged(false);
    }
}

void ViewWrapper::followModel(bool follow)
{
    for (const QMetaObject::Connection& connection : qAsConst(m_modelConnections))
        disconnect(connection);
    m_modelConnections.clear();
    QAbstractItemModel* model = m_view ? m_view->model() : nullptr;
    if (!follow || !model)
        return;
    auto rewrite = [this] { m_rewrite->start(); };
    m_modelConnections << connect(model, &QAbstractItemModel::dataChanged, this, rewrite)
                       << connect(model, &QAbstractItemModel::rowsInserted, this, rewrite)
                       << connect(model, &QAbstractItemModel::rowsRemoved, this, rewrite)
                       << connect(model, &QAbstractItemModel::modelReset, this, rewrite)
                       << connect(model, &QAbstractItemModel::layoutChanged, this, rewrite);
}

void ViewWrapper::writeDynamic()
{
    if (!m_dynamic)
        return;
    QScopedPointer<ExporterProxyModel> proxy(createExporterModel());
    QString error;
    if (proxy &&
        FileExporter::exportToFile(proxy.data(), m_dynamicPath, m_dynamicFormat, title(), &error))
        return;
    // A file that cannot be written now will not be next time either: stop and say so once.
    exportDynamic(false);
    QMessageBox::warning(m_view ? m_view.data() : QApplication::activeWindow(),
                         tr("Динамический экспорт"),
                         tr("Не удалось сохранить файл %1.\n%2")
                             .arg(QDir::toNativeSeparators(m_dynamicPath), error));
}
