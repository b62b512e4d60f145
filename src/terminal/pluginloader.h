#pragma once

#include <QCoreApplication>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class ICore;
class IPlugin;

// What the terminal knows of one file of the plug-in folder.
struct PluginRecord
{
    enum State {
        Failed,     // not loaded, or initialize() threw: see error
        Loaded,     // the root object is an IPlugin; not yet initialized
        Initialized // initialize() returned and the view factories are registered
    };

    QString fileName; // absolute
    State state = Failed;
    QString error;
    // From the plug-in's metadata.
    QString iid;
    QString className;
    int qtVersion = 0;
    // From its IPlugin.
    QString pluginName;
    QString displayName;
    QString vendor;
    QString version;
    QString description;
    QPointer<QObject> instance;
};

// Loads the terminal's plug-ins from one folder with QPluginLoader. A file that does not
// load, or whose root object is no IPlugin, is reported (log and the list of records) and
// skipped; so is a second plug-in of a name already taken. Plug-ins are never unloaded:
// objects they made (options pages, commands, views) may outlive their root object.
class PluginLoader : public QObject
{
    Q_OBJECT

public:
    explicit PluginLoader(QObject* parent = nullptr);
    ~PluginLoader() override;

    // "plugins" beside the executable.
    static QString defaultDir();

    // Loads every library of the folder, in the order of the file names.
    void load(const QString& dir);
    // Initializes each plug-in loaded and not yet initialized, once: initialize(core), then
    // the core records it and registers the factories of its IViewProvider. A plug-in that
    // throws is reported to the user (ErrorReporter) and stays out of the core. Then every
    // plug-in initialized gets pluginHookFirst().
    void initialize(ICore* core);
    // At exit, while the core is whole: pluginHookSecond() of each plug-in initialized, then
    // its root object is deleted.
    void shutdown();

    QList<PluginRecord> records() const { return m_records; }
    // What --list-plugins prints.
    QString listing() const;

private:
    PluginRecord loadFile(const QString& fileName) const;
    bool nameTaken(const QString& pluginName) const;

    QList<PluginRecord> m_records;
};
