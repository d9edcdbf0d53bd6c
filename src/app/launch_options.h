#pragma once

#include <QProcessEnvironment>
#include <QStringList>

enum class RunMode {
    mcpStdio,   // MCP server on stdin/stdout, no GUI library touched
    forwarder,  // quillo://… arguments handed to the running instance
    headless,   // the instance without windows
    desktop,    // the instance with tray icon and windows
    printMcpConfig, // --print-mcp-config EDITOR: print the editor's MCP snippet
    installMcp,     // --install-mcp EDITOR [--config PATH]: write it into the editor's file
    config,         // config list | get KEY | set KEY VALUE
    transfer,       // export-schedule | import-schedule | export-accounts | import-accounts FILE
    text,           // count … / split …: the counters and the splitter on stdin
};

// How this process was asked to run. Decided once, before any Qt application object
// exists, from the exact switch forms: an argument must be an element of the list, the
// MCP variables must be the text "1", the UI test variables need only be present.
struct LaunchOptions {
    RunMode mode = RunMode::desktop;
    bool mcpDebug = false;
    bool uiTestMode = false;
    bool uiTestResetState = false;
    QStringList urls;
    QString editor;
    QString configPath;
    // config and transfer: the words after the program name.
    QStringList commandArguments;

    static LaunchOptions parse(const QStringList& arguments, const QProcessEnvironment& env);
    // The command that starts a post with these files attached (the first four).
    static QString composeUrlForFiles(const QStringList& files);
    // argv without the program name, as Qt strings.
    static QStringList argumentsOf(int argc, char** argv);
};
