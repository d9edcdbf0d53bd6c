#pragma once

#include <QWidget>

class AppEvents;
class AppPaths;
class PreferenceStore;
class QLabel;
class QPushButton;
class QStackedWidget;

// The first start's welcome: connect an account, enable MCP for your editor, where the
// schedule lives. Remembers the step shown last ("OnboardingCurrentStep") and, once
// finished or skipped, never shows again ("OnboardingCompleted").
class OnboardingWindow : public QWidget {
    Q_OBJECT
public:
    OnboardingWindow(PreferenceStore& preferences, AppEvents& events, const AppPaths& paths, QWidget* parent = nullptr);

    int currentStep() const;
    void showStep(int step);
    QPushButton* nextButton() const { return m_next; }
    QPushButton* skipButton() const { return m_skip; }

private:
    QWidget* accountStep(AppEvents& events);
    QWidget* mcpStep(AppEvents& events);
    QWidget* scheduleStep(AppEvents& events, const AppPaths& paths);
    void next();
    void finish();

    PreferenceStore& m_preferences;
    QStackedWidget* m_steps;
    QLabel* m_progress;
    QPushButton* m_back;
    QPushButton* m_next;
    QPushButton* m_skip;
};
