#include "pluginsdialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

PluginsDialog::PluginsDialog(const QList<PluginRecord>& records, QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Модули"));
    auto* tree = new QTreeWidget(this);
    tree->setObjectName(QStringLiteral("plugins"));
    tree->setRootIsDecorated(false);
    tree->setColumnCount(ColumnCount);
    tree->setHeaderLabels(
        {tr("Модуль"), tr("Версия"), tr("Поставщик"), tr("Состояние"), tr("Файл")});
    for (const PluginRecord& r : records) {
        auto* item = new QTreeWidgetItem(tree);
        item->setText(NameColumn, r.displayName.isEmpty() ? r.pluginName : r.displayName);
        item->setText(VersionColumn, r.version);
        item->setText(VendorColumn, r.vendor);
        item->setText(StateColumn, r.state == PluginRecord::Initialized ? tr("Загружен")
                                   : r.state == PluginRecord::Loaded
                                       ? tr("Не инициализирован")
                                       : tr("Ошибка: %1").arg(r.error));
        item->setText(FileColumn, QFileInfo(r.fileName).fileName());
        item->setToolTip(FileColumn, r.fileName);
        item->setToolTip(NameColumn, r.description);
    }
    tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    if (records.isEmpty())
        layout->addWidget(new QLabel(tr("Модули не найдены."), this));
    layout->addWidget(tree);
    layout->addWidget(buttons);
    resize(720, 300);
}

PluginsDialog::~PluginsDialog() = default;
