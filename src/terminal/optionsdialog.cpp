#include "optionsdialog.h"

#include "errorreporter.h"

#include "c_api/icore.h"
#include "c_api/ioptionspage.h"
#include "database/settings.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>

OptionsDialog::OptionsDialog(ICore* core, const OptionsRequest& request, QWidget* parent)
    : QDialog(parent), m_core(core),
      m_stateKey(request.stateKey.isEmpty() ? QStringLiteral("OptionsDialog") : request.stateKey),
      m_filter(new QLineEdit(this)), m_categoryList(new QListWidget(this)),
      m_stack(new QStackedWidget(this))
{
    setWindowTitle(request.title.isEmpty() ? tr("Настройки") : request.title);
    m_filter->setPlaceholderText(tr("Поиск"));
    m_filter->setClearButtonEnabled(true);
    m_categoryList->setMaximumWidth(220);

    for (const QString& category : core->optionsCategories()) {
        auto* tabs = new QTabWidget(m_stack);
        QString displayCategory;
        QIcon icon;
        for (IOptionsPageBase* base : core->categoryPages(category)) {
            auto* page = dynamic_cast<IOptionsPage*>(base);
            if (!page) {
                qWarning("OptionsDialog: a page of \"%s\" is no global options page",
                         qPrintable(category));
                continue;
            }
            if (displayCategory.isEmpty()) {
                displayCategory = page->displayCategory();
                icon = page->categoryIcon();
            }
            auto* holder = new QWidget(tabs);
            auto* layout = new QVBoxLayout(holder);
            layout->setContentsMargins(0, 0, 0, 0);
            tabs->addTab(holder, page->displayName());
            m_pages.append(Page{page, category, holder, nullptr});
        }
        if (tabs->count() == 0) {
            delete tabs;
            continue;
        }
        m_stack->addWidget(tabs);
        m_tabs.append(tabs);
        m_categories.append(category);
        new QListWidgetItem(icon, displayCategory.isEmpty() ? category : displayCategory,
                            m_categoryList);
        connect(tabs, &QTabWidget::currentChanged, this, &OptionsDialog::showCurrentPage);
    }
    connect(m_categoryList, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0)
            m_stack->setCurrentIndex(row);
        showCurrentPage();
    });
    connect(m_filter, &QLineEdit::textChanged, this, &OptionsDialog::applyFilter);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* left = new QVBoxLayout;
    left->addWidget(m_filter);
    left->addWidget(m_categoryList);
    auto* body = new QHBoxLayout;
    body->addLayout(left);
    body->addWidget(m_stack, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(body);
    layout->addWidget(buttons);

    AppSettings state(m_stateKey);
    restoreGeometry(state.value(QStringLiteral("geometry")).toByteArray());
    QString category = request.category;
    QString page = request.page;
    if (category.isEmpty() && page.isEmpty()) {
        category = state.value(QStringLiteral("category")).toString();
        page = state.value(QStringLiteral("page")).toString();
    }
    if (!openPage(category, page) && !m_categories.isEmpty())
        openPage(m_categories.first(), QString());
    if (!request.filter.isEmpty())
        m_filter->setText(request.filter);
}

OptionsDialog::~OptionsDialog()
{
    finishPages();
}

QStringList OptionsDialog::categories() const
{
    return m_categories;
}

bool OptionsDialog::openPage(const QString& category, const QString& pageId)
{
    int found = -1;
    for (int i = 0; i < m_pages.size() && found < 0; ++i) {
        const Page& p = m_pages.at(i);
        if ((category.isEmpty() || p.category == category) && !pageId.isEmpty() &&
            p.page->id() == pageId)
            found = i;
    }
    for (int i = 0; i < m_pages.size() && found < 0; ++i) {
        if (!category.isEmpty() && m_pages.at(i).category == category)
            found = i;
    }
    if (found < 0)
        return false;
    const Page& p = m_pages.at(found);
    const int row = m_categories.indexOf(p.category);
    QTabWidget* tabs = m_tabs.at(row);
    {
        // One page made, not the category's first on the way.
        const QSignalBlocker blockList(m_categoryList);
        const QSignalBlocker blockTabs(tabs);
        m_categoryList->setCurrentRow(row);
        m_stack->setCurrentIndex(row);
        tabs->setCurrentWidget(p.holder);
    }
    showCurrentPage();
    return true;
}

IOptionsPage* OptionsDialog::currentPage() const
{
    auto* tabs = qobject_cast<QTabWidget*>(m_stack->currentWidget());
    QWidget* holder = tabs ? tabs->currentWidget() : nullptr;
    for (const Page& p : m_pages) {
        if (p.holder == holder)
            return p.page;
    }
    return nullptr;
}

QWidget* OptionsDialog::pageWidget(IOptionsPage* page) const
{
    for (const Page& p : m_pages) {
        if (p.page == page)
            return p.content;
    }
    return nullptr;
}

void OptionsDialog::showCurrentPage()
{
    IOptionsPage* page = currentPage();
    for (Page& p : m_pages) {
        if (p.page != page || p.content || m_finished)
            continue;
        QWidget* content = nullptr;
        ErrorReporter::guard(tr("Ошибка страницы настроек"),
                             [&] { content = p.page->createPage(p.holder); });
        if (content) {
            p.holder->layout()->addWidget(content);
            p.content = content;
        }
    }
}

void OptionsDialog::applyFilter(const QString& text)
{
    const QList<IOptionsPageBase*> matching = m_core->matchingOptionsPages(text);
    for (int row = 0; row < m_categories.size(); ++row) {
        QTabWidget* tabs = m_tabs.at(row);
        bool any = false;
        for (const Page& p : qAsConst(m_pages)) {
            if (p.category != m_categories.at(row))
                continue;
            const bool match = matching.contains(p.page);
            tabs->setTabVisible(tabs->indexOf(p.holder), match);
            any = any || match;
        }
        m_categoryList->item(row)->setHidden(!any);
    }
}

bool OptionsDialog::isAlive(IOptionsPage* page) const
{
    // The pages belong to the core and may go while the dialog is open.
    return m_core->optionsPages().contains(page);
}

void OptionsDialog::accept()
{
    for (const Page& p : qAsConst(m_pages)) {
        if (isAlive(p.page))
            ErrorReporter::guard(tr("Ошибка страницы настроек"), [&] { p.page->apply(); });
    }
    QDialog::accept();
}

void OptionsDialog::done(int result)
{
    saveState();
    finishPages();
    QDialog::done(result);
}

void OptionsDialog::finishPages()
{
    if (m_finished)
        return;
    m_finished = true;
    for (const Page& p : qAsConst(m_pages)) {
        if (isAlive(p.page))
            ErrorReporter::guard(tr("Ошибка страницы настроек"), [&] { p.page->finish(); });
    }
}

void OptionsDialog::saveState()
{
    AppSettings state(m_stateKey);
    state.setValue(QStringLiteral("geometry"), saveGeometry());
    if (IOptionsPage* page = currentPage()) {
        state.setValue(QStringLiteral("category"), page->category());
        state.setValue(QStringLiteral("page"), page->id());
    }
}
