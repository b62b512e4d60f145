#include "fileexporter.h"

#include "exporterproxymodel.h"

#include "c_api/icore.h"
#include "database/settings.h"
#include "gui/progressdialog.h"
#include "gui/progressworker.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QSaveFile>

namespace {

const QString settingsGroup = QStringLiteral("exporter");
const QString folderKey = QStringLiteral("filePath");

QString cellText(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("dd.MM.yyyy"));
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm:ss"));
    default:
        return value.toString();
    }
}

QString csvField(const QString& text)
{
    if (!text.contains(QLatin1Char(';')) && !text.contains(QLatin1Char('"')) &&
        !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString htmlText(const QString& text)
{
    QString escaped = text.toHtmlEscaped();
    escaped.replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    return escaped;
}

QString htmlCell(const QString& tag, const QString& text, const QVariant& alignment)
{
    QString open = tag;
    const int align = alignment.toInt() & Qt::AlignHorizontal_Mask;
    if (align & Qt::AlignRight)
        open += QStringLiteral(" align=\"right\"");
    else if (align & Qt::AlignHCenter)
        open += QStringLiteral(" align=\"center\"");
    return QStringLiteral("<%1>%2</%3>").arg(open, htmlText(text), tag);
}

// One line of the file for a row (row -1: the header).
QString line(const QAbstractItemModel* model, int row, FileExporter::Format format)
{
    const int columns = model->columnCount();
    QStringList cells;
    cells.reserve(columns);
    for (int column = 0; column < columns; ++column) {
        const bool header = row < 0;
        const QString text = cellText(header ? model->headerData(column, Qt::Horizontal)
                                             : model->index(row, column).data());
        if (format == FileExporter::Csv) {
            cells << csvField(text);
        } else {
            const QVariant align =
                header ? QVariant() : model->index(row, column).data(Qt::TextAlignmentRole);
            cells << htmlCell(header ? QStringLiteral("th") : QStringLiteral("td"), text, align);
        }
    }
    if (format == FileExporter::Csv)
        return cells.join(QLatin1Char(';')) + QStringLiteral("\r\n");
    return QStringLiteral("<tr>") + cells.join(QString()) + QStringLiteral("</tr>\n");
}

QString htmlHead(const QString& title)
{
    QString head = QStringLiteral("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<title>%1</title>\n</head>\n<body>\n"
                                  "<table border=\"1\" cellspacing=\"0\" cellpadding=\"2\">\n")
                       .arg(htmlText(title));
    if (!title.isEmpty())
        head += QStringLiteral("<caption>%1</caption>\n").arg(htmlText(title));
    return head;
}

QString suggestedName(const QString& title)
{
    QString name = title.trimmed();
    for (QChar& c : name) {
        if (QStringLiteral("\\/:*?\"<>|").contains(c) || c.category() == QChar::Other_Control)
            c = QLatin1Char('_');
    }
    return name.isEmpty() ? QStringLiteral("export") : name;
}

// Runs an export inside a progress dialog, which it keeps painted and cancellable.
class ExportWorker : public ProgressWorker
{
public:
    ExportWorker(ProgressDialog* dialog, const QAbstractItemModel* model, const QString& path,
                 FileExporter::Format format, const QString& title)
        : ProgressWorker(dialog), m_model(model), m_path(path), m_format(format), m_title(title)
    {
    }

    void run() override
    {
        m_ok = FileExporter::exportToFile(m_model, m_path, m_format, m_title, &m_error,
                                          [this](int percent) {
                                              if (dialog())
                                                  dialog()->setProgress(percent);
                                              return processEvents();
                                          });
    }

    bool ok() const { return m_ok; }
    QString error() const { return m_error; }

private:
    const QAbstractItemModel* m_model;
    QString m_path;
    FileExporter::Format m_format;
    QString m_title;
    QString m_error;
    bool m_ok = false;
};

} // namespace

FileExporter::FileExporter() = default;

FileExporter::~FileExporter() = default;

FileExporter* FileExporter::instance()
{
    static FileExporter exporter;
    return &exporter;
}

void FileExporter::setFileChooser(FileChooser chooser)
{
    m_chooser = std::move(chooser);
}

QString FileExporter::csvFilter()
{
    return tr("Файлы CSV (*.csv)");
}

QString FileExporter::htmlFilter()
{
    return tr("Страницы HTML (*.html *.htm)");
}

FileExporter::Format FileExporter::formatOf(const QString& path, const QString& selectedFilter)
{
    if (selectedFilter == htmlFilter())
        return Html;
    if (selectedFilter == csvFilter())
        return Csv;
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == QLatin1String("html") || suffix == QLatin1String("htm") ? Html : Csv;
}

QWidget* FileExporter::dialogParent()
{
    if (ICore* core = ICore::instance()) {
        if (QWidget* window = core->mainWindow())
            return window;
    }
    return QApplication::activeWindow();
}

QString FileExporter::chooseFile(const QString& title, const QString& caption, Format* format)
{
    QString folder = AppSettings(settingsGroup).value(folderKey).toString();
    const QString name = suggestedName(title) + QStringLiteral(".csv");
    const QString suggested =
        !folder.isEmpty() && QFileInfo(folder).isDir() ? QDir(folder).filePath(name) : name;
    const QString filters = csvFilter() + QStringLiteral(";;") + htmlFilter();
    QString selected = csvFilter();
    QString path = m_chooser ? m_chooser(dialogParent(), caption, suggested, filters, &selected)
                             : QFileDialog::getSaveFileName(dialogParent(), caption, suggested,
                                                            filters, &selected);
    if (path.isEmpty())
        return QString();
    const Format chosen = formatOf(path, selected);
    if (QFileInfo(path).suffix().isEmpty())
        path += chosen == Html ? QStringLiteral(".html") : QStringLiteral(".csv");
    const QString chosenFolder = QFileInfo(path).absolutePath();
    if (chosenFolder != folder)
        AppSettings(settingsGroup).setValue(folderKey, chosenFolder);
    if (format)
        *format = chosen;
    return path;
}

bool FileExporter::exportModel(QSharedPointer<ExporterProxyModel> model, const QString& title,
                               const QString& caption)
{
    if (!model || model->columnCount() == 0)
        return false;
    Format format = Csv;
    const QString path = chooseFile(title, caption, &format);
    if (path.isEmpty())
        return false;

    bool ok = false;
    bool cancelled = false;
    QString error;
    if (model->rowCount() >= m_progressThreshold) {
        ProgressDialog dialog(dialogParent());
        dialog.setWindowTitle(caption);
        dialog.setText(tr("Сохранение в файл %1").arg(QDir::toNativeSeparators(path)));
        auto* worker = new ExportWorker(&dialog, model.data(), path, format, title);
        cancelled = !dialog.execWorker(worker);
        ok = worker->ok();
        error = worker->error();
    } else {
        ok = exportToFile(model.data(), path, format, title, &error);
    }
    if (!ok && !cancelled) {
        QMessageBox::warning(
            dialogParent(), caption.isEmpty() ? tr("Экспорт") : caption,
            tr("Не удалось сохранить файл %1.\n%2").arg(QDir::toNativeSeparators(path), error));
    }
    return ok;
}

bool FileExporter::exportToFile(const QAbstractItemModel* model, const QString& path, Format format,
                                const QString& title, QString* error, const Progress& progress)
{
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (!model)
        return fail(tr("Нет данных для экспорта."));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());

    if (format == Csv)
        file.write("\xEF\xBB\xBF");
    else
        file.write(htmlHead(title).toUtf8());
    file.write(line(model, -1, format).toUtf8());
    const int rows = model->rowCount();
    int reported = -1;
    for (int row = 0; row < rows; ++row) {
        file.write(line(model, row, format).toUtf8());
        const int percent = int(qint64(row + 1) * 100 / rows);
        if (progress && percent != reported) {
            reported = percent;
            if (!progress(percent)) {
                file.cancelWriting();
                return fail(tr("Экспорт прерван."));
            }
        }
    }
    if (format == Html)
        file.write("</table>\n</body>\n</html>\n");
    if (!file.commit())
        return fail(file.errorString());
    return true;
}
