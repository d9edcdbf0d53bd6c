#pragma once

#include <QWidget>

class AppPaths;

// About: the version, and where Quillo keeps the schedule, accounts, media and log.
class AboutSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit AboutSettingsPage(const AppPaths& paths, QWidget* parent = nullptr);
};
