#pragma once

#include "basic_views_global.h"

#include <QObject>
#include <QSharedPointer>

#include <functional>

class ExporterProxyModel;
class QAbstractItemModel;
class QWidget;

// Writes table models into files for other programs: CSV with ";" between fields and a
// UTF-8 byte order mark, as spreadsheets read it, or an HTML table. The file appears
// whole or not at all: it is written aside and put in place at the end, so a failed or
// cancelled export leaves whatever was there before.
//
// The folder of the last export is remembered in the application settings, group
// "exporter", key "filePath".
class BASIC_VIEWS_EXPORT FileExporter : public QObject
{
    Q_OBJECT
public:
    enum Format { Csv, Html };

    // Asks for the file to write: the caption of the dialog, the file suggested, the
    // filters; returns the path (empty: cancelled) and sets the filter chosen.
    using FileChooser =
        std::function<QString(QWidget* parent, const QString& caption, const QString& suggested,
                              const QString& filters, QString* selectedFilter)>;
    // Told the percent done; returns false to cancel.
    using Progress = std::function<bool(int percent)>;

    static FileExporter* instance();

    // The whole export of the model: the save dialog with the caption given, the file
    // named after the title, a progress dialog for a large model, a message box when the
    // file cannot be written. True when a file was written.
    bool exportModel(QSharedPointer<ExporterProxyModel> model, const QString& title,
                     const QString& caption);

    // The save dialog alone; an empty path when the user cancelled. Remembers the folder.
    QString chooseFile(const QString& title, const QString& caption, Format* format);

    // Writes the model (the top level rows, the horizontal header first) with no dialog
    // and no message; false with the reason in error. A cancel leaves no file.
    static bool exportToFile(const QAbstractItemModel* model, const QString& path, Format format,
                             const QString& title = QString(), QString* error = nullptr,
                             const Progress& progress = Progress());

    // A null chooser brings the file dialog back.
    void setFileChooser(FileChooser chooser);
    // Models of at least this many rows are written under a progress dialog.
    void setProgressThreshold(int rows) { m_progressThreshold = rows; }
    int progressThreshold() const { return m_progressThreshold; }

    static QString csvFilter();
    static QString htmlFilter();
    // By the filter chosen; without one by the file's suffix.
    static Format formatOf(const QString& path, const QString& selectedFilter);

private:
    FileExporter();
    ~FileExporter() override;

    static QWidget* dialogParent();

    FileChooser m_chooser;
    int m_progressThreshold = 10000;
};
