#include "viewsettingsdialog.h"

#include "errorreporter.h"
#include "windowmanager.h"

#include "c_api/iview.h"
#include "c_api/iviewsettingspage.h"
#include "database/settings.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QSettings>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QVBoxLayout>

ViewSettingsDialog::ViewSettingsDialog(IView* view, Settings& settings, QWidget* parent)
    : QDialog(parent), m_view(view), m_settings(settings), m_list(new QListWidget(this)),
      m_stack(new QStackedWidget(this))
{
    auto* widget = dynamic_cast<QWidget*>(view);
    setWindowTitle(widget ? tr("Настройки вида: %1").arg(widget->windowTitle())
                          : tr("Настройки вида"));
    m_list->setMaximumWidth(200);
    ErrorReporter::guard(tr("Ошибка окна"), [&] { m_pages = view->getSettingsPages(this); });
    m_pages.removeAll(nullptr);
    for (IViewSettingsPage* page : qAsConst(m_pages)) {
        QWidget* content = nullptr;
        ErrorReporter::guard(tr("Ошибка страницы настроек"),
                             [&] { content = page->createPage(m_settings, m_stack); });
        if (!content)
            content = new QWidget(m_stack);
        m_stack->addWidget(content);
        new QListWidgetItem(page->categoryIcon(), page->displayName(), m_list);
    }
    if (m_pages.isEmpty())
        m_stack->addWidget(new QLabel(tr("У этого вида нет настроек."), m_stack));
    connect(m_list, &QListWidget::currentRowChanged, m_stack, &QStackedWidget::setCurrentIndex);
    m_list->setCurrentRow(0);
    m_list->setVisible(m_pages.size() > 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* body = new QHBoxLayout;
    body->addWidget(m_list);
    body->addWidget(m_stack, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(body);
    layout->addWidget(buttons);
}

ViewSettingsDialog::~ViewSettingsDialog()
{
    finishPages();
    for (IViewSettingsPage* page : qAsConst(m_pages)) {
        // Pages made for this dialog go with it; one that another object holds stays there.
        auto* object = dynamic_cast<QObject*>(page);
        if (!object)
            delete page;
        else if (object->parent() == this)
            delete object;
    }
}

void ViewSettingsDialog::accept()
{
    for (IViewSettingsPage* page : qAsConst(m_pages))
        ErrorReporter::guard(tr("Ошибка страницы настроек"), [&] { page->apply(m_settings); });
    ErrorReporter::guard(tr("Ошибка окна"), [this] { m_view->apply(); });
    QDialog::accept();
}

void ViewSettingsDialog::done(int result)
{
    finishPages();
    QDialog::done(result);
}

void ViewSettingsDialog::finishPages()
{
    if (m_finished)
        return;
    m_finished = true;
    for (IViewSettingsPage* page : qAsConst(m_pages))
        ErrorReporter::guard(tr("Ошибка страницы настроек"), [page] { page->finish(); });
}

void ViewSettingsDialog::showFor(IView* view, QWidget* parent)
{
    auto* widget = dynamic_cast<QWidget*>(view);
    if (!widget)
        return;
    QTemporaryDir dir;
    if (!dir.isValid()) {
        ErrorReporter::report(tr("Настройки вида"),
                              tr("Не удалось создать временную папку: %1").arg(dir.errorString()));
        return;
    }
    QSettings store(dir.filePath(QStringLiteral("view.ini")), QSettings::IniFormat);
    Settings settings(&store);
    const QString oldTitle = widget->property(WindowManager::UserTitleProperty).toString();
    settings.setValue(QStringLiteral("userTitle"), oldTitle);
    if (!ErrorReporter::guard(tr("Ошибка окна"), [&] { view->store(settings); }))
        return;

    ViewSettingsDialog dialog(view, settings, parent);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString title = settings.value(QStringLiteral("userTitle")).toString();
    if (title == oldTitle)
        return;
    widget->setProperty(WindowManager::UserTitleProperty, title);
    if (!title.isEmpty())
        widget->setWindowTitle(title);
}
