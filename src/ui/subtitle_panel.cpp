#include "ui/subtitle_panel.h"

#include "media/srt_file.h"
#include "media/subtitle_edits.h"
#include "media/video_editor_session.h"
#include "ui/ui_log.h"

#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

enum Column { startColumn, endColumn, textColumn };

QString secondsText(double seconds)
{
    return QString::number(seconds, 'f', 2);
}

QPushButton* button(const QString& text, QWidget* parent)
{
    auto* pushButton = new QPushButton(text, parent);
    pushButton->setAutoDefault(false);
    return pushButton;
}

} // namespace

SubtitlePanel::SubtitlePanel(VideoEditorSession& session, MediaFileDialogs dialogs, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_dialogs(std::move(dialogs))
    , m_table(new QTableWidget(0, 3, this))
    , m_burn(new QCheckBox(tr("Burn subtitles into the video"), this))
    , m_status(new QLabel(this))
{
    m_table->setHorizontalHeaderLabels({tr("Start (s)"), tr("End (s)"), tr("Text")});
    m_table->horizontalHeader()->setSectionResizeMode(startColumn, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(endColumn, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(textColumn, QHeaderView::Stretch);
    m_table->setWordWrap(true);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_burn->setChecked(session.burnsSubtitles());
    m_status->setWordWrap(true);

    auto* edits = new QHBoxLayout;
    auto* add = button(tr("Add"), this);
    auto* split = button(tr("Split"), this);
    auto* remove = button(tr("Delete"), this);
    edits->addWidget(add);
    edits->addWidget(split);
    edits->addWidget(remove);
    auto* shift = new QHBoxLayout;
    auto* earlier = button(tr("Shift −0.1s"), this);
    auto* later = button(tr("Shift +0.1s"), this);
    shift->addWidget(earlier);
    shift->addWidget(later);
    auto* files = new QHBoxLayout;
    auto* import = button(tr("Import .srt…"), this);
    auto* exportButton = button(tr("Export .srt…"), this);
    files->addWidget(import);
    files->addWidget(exportButton);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* title = new QLabel(tr("Subtitles"), this);
    title->setStyleSheet(QStringLiteral("font-weight: bold"));
    layout->addWidget(title);
    layout->addWidget(m_table, 1);
    layout->addLayout(edits);
    layout->addLayout(shift);
    layout->addLayout(files);
    layout->addWidget(m_burn);
    layout->addWidget(m_status);

    connect(add, &QPushButton::clicked, this, &SubtitlePanel::addAtPlayhead);
    connect(split, &QPushButton::clicked, this, &SubtitlePanel::splitSelected);
    connect(remove, &QPushButton::clicked, this, &SubtitlePanel::deleteSelected);
    connect(earlier, &QPushButton::clicked, this, [this] { shiftAll(-0.1); });
    connect(later, &QPushButton::clicked, this, [this] { shiftAll(0.1); });
    connect(import, &QPushButton::clicked, this, [this] {
        const QString path = m_dialogs.openFile(this, tr("Import Subtitles"), tr("SubRip subtitles (*.srt)"));
        if (!path.isEmpty())
            importSrt(path);
    });
    connect(exportButton, &QPushButton::clicked, this, [this] {
        const QString suggested = QFileInfo(m_session.sourcePath()).completeBaseName() + QStringLiteral(".srt");
        const QString path = m_dialogs.saveFile(this, tr("Export Subtitles"), suggested, tr("SubRip subtitles (*.srt)"));
        if (!path.isEmpty())
            exportSrt(path);
    });
    connect(m_burn, &QCheckBox::toggled, this, [this](bool on) { m_session.setBurnsSubtitles(on); });
    connect(m_table, &QTableWidget::itemChanged, this, &SubtitlePanel::commitRow);
    connect(&session, &VideoEditorSession::subtitlesChanged, this, &SubtitlePanel::refill);
    refill();
}

QString SubtitlePanel::status() const
{
    return m_status->text();
}

void SubtitlePanel::setStatus(const QString& text)
{
    m_status->setText(text);
}

// Items are updated in place: a refill may run inside the signal of the item just edited.
void SubtitlePanel::refill()
{
    const QUuid selected = selectedId();
    m_filling = true;
    const QList<SubtitleSegment>& segments = m_session.subtitles();
    m_table->setRowCount(int(segments.size()));
    for (int row = 0; row < segments.size(); ++row) {
        const SubtitleSegment& segment = segments[row];
        const QString texts[] = {secondsText(segment.start), secondsText(segment.end), segment.text};
        for (int column = startColumn; column <= textColumn; ++column) {
            QTableWidgetItem* item = m_table->item(row, column);
            if (!item) {
                item = new QTableWidgetItem;
                m_table->setItem(row, column, item);
            }
            item->setText(texts[column]);
            item->setData(Qt::UserRole, segment.id);
        }
        if (segment.id == selected)
            m_table->selectRow(row);
    }
    m_filling = false;
}

QUuid SubtitlePanel::selectedId() const
{
    const QList<QTableWidgetItem*> items = m_table->selectedItems();
    return items.isEmpty() ? QUuid() : items.first()->data(Qt::UserRole).toUuid();
}

// A cell edit becomes one caption edit; a time that is not a number or leaves the caption
// empty is refused and the row shows the caption as it was.
void SubtitlePanel::commitRow(QTableWidgetItem* item)
{
    if (m_filling || !m_session.isLoaded())
        return;
    const int row = item->row();
    bool startOk = false;
    bool endOk = false;
    const double start = m_table->item(row, startColumn)->text().toDouble(&startOk);
    const double end = m_table->item(row, endColumn)->text().toDouble(&endOk);
    const QString text = m_table->item(row, textColumn)->text();
    const auto edited = startOk && endOk
        ? SubtitleEdits::edit(m_session.subtitles(), item->data(Qt::UserRole).toUuid(), start, end, text,
                              m_session.timeline().duration())
        : std::nullopt;
    if (!edited) {
        setStatus(tr("A caption needs a start before its end, in seconds within the video."));
        refill();
        return;
    }
    setStatus(QString());
    m_session.setSubtitles(*edited);
}

void SubtitlePanel::addAtPlayhead()
{
    QUuid added;
    const auto result = SubtitleEdits::add(m_session.subtitles(), m_session.timeline().playhead(),
                                           m_session.timeline().duration(), &added);
    if (!result) {
        setStatus(tr("There is already a caption at the playhead."));
        return;
    }
    setStatus(QString());
    m_session.setSubtitles(*result);
    for (int row = 0; row < m_table->rowCount(); ++row) {
        if (m_table->item(row, textColumn)->data(Qt::UserRole).toUuid() == added) {
            m_table->selectRow(row);
            m_table->editItem(m_table->item(row, textColumn));
        }
    }
}

void SubtitlePanel::splitSelected()
{
    const auto result = SubtitleEdits::split(m_session.subtitles(), selectedId(), m_session.timeline().playhead());
    if (result)
        m_session.setSubtitles(*result);
}

void SubtitlePanel::deleteSelected()
{
    m_session.setSubtitles(SubtitleEdits::remove(m_session.subtitles(), selectedId()));
}

void SubtitlePanel::shiftAll(double delta)
{
    m_session.setSubtitles(SubtitleEdits::shift(m_session.subtitles(), delta, m_session.timeline().duration()));
}

bool SubtitlePanel::importSrt(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        setStatus(tr("Could not read %1: %2").arg(path, file.errorString()));
        return false;
    }
    QString error;
    const auto segments = SrtFile::parse(file.readAll(), &error);
    if (!segments) {
        setStatus(tr("Could not import %1: %2").arg(QFileInfo(path).fileName(), error));
        return false;
    }
    m_session.setSubtitles(*segments);
    setStatus(tr("Imported %n caption(s).", nullptr, int(segments->size())));
    qCInfo(lcUi).noquote() << QStringLiteral("📥 Imported %1 caption(s) from %2").arg(segments->size()).arg(path);
    return true;
}

bool SubtitlePanel::exportSrt(const QString& path)
{
    QSaveFile file(path);
    const QByteArray bytes = SrtFile::write(m_session.subtitles());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        setStatus(tr("Could not write %1: %2").arg(path, file.errorString()));
        return false;
    }
    setStatus(tr("Saved %1.").arg(QFileInfo(path).fileName()));
    return true;
}
