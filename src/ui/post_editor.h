#pragma once

#include "model/platform_type.h"
#include "text/character_count.h"

#include <QFrame>
#include <QList>
#include <QPair>

class QHBoxLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;

// One post of the thread in the composer: its text, its length on each selected network
// (red past that network's limit) and a button to remove it.
class PostEditor : public QFrame {
    Q_OBJECT
public:
    using Counts = QList<QPair<PlatformType, CharacterCount>>;

    explicit PostEditor(QWidget* parent = nullptr);

    QString text() const;
    // Leaves the cursor alone when the text is already this one.
    void setText(const QString& text);
    void setPosition(int number, int total);
    void setCounts(const Counts& counts);
    // Whether the text fits every network of the last counts.
    bool fitsAll() const { return m_fitsAll; }
    void focusText();
    QPlainTextEdit* textEdit() const { return m_text; }
    // The label of a network's count, for tests and screenshots.
    QLabel* countLabel(PlatformType platform) const;

Q_SIGNALS:
    void textEdited(const QString& text);
    void removeRequested();
    void addAfterRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* m_number;
    QPlainTextEdit* m_text;
    QHBoxLayout* m_countRow;
    QList<QPair<PlatformType, QLabel*>> m_countLabels;
    QPushButton* m_remove;
    bool m_fitsAll = true;
};
