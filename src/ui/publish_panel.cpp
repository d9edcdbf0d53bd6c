#include "ui/publish_panel.h"

#include <QDesktopServices>
#include <QLabel>
#include <QProgressBar>
#include <QUrl>
#include <QVBoxLayout>

namespace {

const QString kRetryScheme = QStringLiteral("retry");

} // namespace

PublishPanel::PublishPanel(QWidget* parent)
    : QWidget(parent)
    , m_status(new QLabel(this))
    , m_detail(new QLabel(this))
    , m_progress(new QProgressBar(this))
    , m_results(new QLabel(this))
{
    m_progress->setRange(0, 1000);
    m_progress->setTextVisible(false);
    m_detail->setForegroundRole(QPalette::PlaceholderText);
    m_results->setTextFormat(Qt::RichText);
    connect(m_results, &QLabel::linkActivated, this, [this](const QString& link) {
        const QUrl url(link);
        if (url.scheme() == kRetryScheme)
            Q_EMIT retryRequested(QUuid::fromString(url.path()));
        else
            QDesktopServices::openUrl(url);
    });
    m_results->setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_results->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_status);
    layout->addWidget(m_progress);
    layout->addWidget(m_detail);
    layout->addWidget(m_results);
    hide();
}

void PublishPanel::start()
{
    m_status->clear();
    m_detail->clear();
    m_results->clear();
    m_progress->setValue(0);
    m_progress->show();
    show();
}

void PublishPanel::setStatus(const QString& status)
{
    m_status->setText(status);
}

void PublishPanel::setDetail(const QString& detail)
{
    m_detail->setText(detail);
}

void PublishPanel::setProgress(double fraction)
{
    m_progress->setValue(int(fraction * 1000));
}

void PublishPanel::showResults(const QList<PublishResult>& results)
{
    m_progress->hide();
    m_detail->clear();
    QStringList lines;
    for (const PublishResult& result : results) {
        const QString who = QString(displayName(result.platform) + u' ' + result.accountName).toHtmlEscaped();
        if (!result.success)
            lines << QStringLiteral("✗ %1: %2 <a href=\"%3:%4\">%5</a>")
                         .arg(who, result.error.toHtmlEscaped(), kRetryScheme,
                              result.accountId.toString(QUuid::WithoutBraces), tr("Retry"));
        else if (result.url.isEmpty())
            lines << QStringLiteral("✓ %1").arg(who);
        else
            lines << QStringLiteral("✓ %1: <a href=\"%2\">%3</a>").arg(who, result.url.toHtmlEscaped(), result.url.toHtmlEscaped());
    }
    m_results->setText(lines.join(QStringLiteral("<br>")));
}

void PublishPanel::showError(const QString& message)
{
    m_progress->hide();
    m_status->setText(message);
}

QString PublishPanel::resultsText() const
{
    return m_results->text();
}
