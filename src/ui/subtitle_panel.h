#pragma once

#include "ui/media_file_dialogs.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QTableWidget;
class QTableWidgetItem;
class VideoEditorSession;

// The editor's captions, timed on the source video: add at the playhead, edit in the
// table, split, delete, shift all, import and export SubRip (.srt), burn in at export.
class SubtitlePanel : public QWidget {
    Q_OBJECT
public:
    SubtitlePanel(VideoEditorSession& session, MediaFileDialogs dialogs, QWidget* parent = nullptr);

    QTableWidget* table() const { return m_table; }
    QString status() const;

    void addAtPlayhead();
    void splitSelected();
    void deleteSelected();
    void shiftAll(double delta);
    bool importSrt(const QString& path);
    bool exportSrt(const QString& path);

private:
    void refill();
    void commitRow(QTableWidgetItem* item);
    QUuid selectedId() const;
    void setStatus(const QString& text);

    VideoEditorSession& m_session;
    MediaFileDialogs m_dialogs;
    QTableWidget* m_table;
    QCheckBox* m_burn;
    QLabel* m_status;
    bool m_filling = false;
};
