#pragma once

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QVariantMap>

class QMainWindow;
class WindowManager;

// The open views, kept in an INI file between sessions. Each view has its own group
// "view_N" with its "viewId", "key", "userTitle" and "geometry", then whatever its store()
// writes. A view whose kind is not available when the workspace is opened (a plug-in that
// did not load) is kept as it was saved and written back, so that it comes back once its
// plug-in does.
class Workspace
{
    Q_DECLARE_TR_FUNCTIONS(Workspace)

public:
    explicit Workspace(const QString& fileName);

    QString fileName() const { return m_fileName; }

    // Opens the saved views through the window manager; gives how many opened. A file that
    // cannot be read or is not a workspace is moved aside as FILE.corrupt, notice() tells
    // of it in one line, and the terminal starts with no views.
    int restore(WindowManager* manager, QMainWindow* mainWindow = nullptr);
    // Writes every open view, atomically: the old file stays whole until the new one is
    // complete. False, with the reason in notice(), when the file cannot be written.
    bool save(WindowManager* manager, const QMainWindow* mainWindow = nullptr);

    // The last problem met, or empty.
    QString notice() const { return m_notice; }

private:
    // Whether the file is a workspace of this format; the number of its views.
    bool readHeader(int* count) const;
    bool moveAside(const QString& reason);

    QString m_fileName;
    QString m_notice;
    // Groups of views that could not be opened, as saved.
    QList<QVariantMap> m_keptViews;
    // Set when a damaged file could not be moved aside: writing over it would lose it.
    bool m_saveBlocked = false;
};
