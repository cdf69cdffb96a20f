#include "preview/UPDialog.h"

#include <QEventLoop>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <system_error>
#include <utility>

namespace pastille::preview {
namespace {

using namespace std::chrono_literals;

constexpr auto kQuickJob = 300ms;
/// How long a cancelled job is waited for.
constexpr auto kClosing = 2 * 500ms;
constexpr qsizetype kLongestCaption = 255;
constexpr int kLettersWide = 44;

QLabel* MakeLine(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

}  // namespace

void CUPJob::Post(std::function<void(CUPDialog&)> message)
{
    const std::scoped_lock lock(m_mutex);
    // Below the lock the dialog cannot end; what is on its way when it is destroyed goes with it.
    if (CUPDialog* dialog = m_dialog; dialog != nullptr) {
        QMetaObject::invokeMethod(
            dialog, [dialog, message = std::move(message)] { message(*dialog); }, Qt::QueuedConnection);
    }
}

void CUPJob::Leave()
{
    const std::scoped_lock lock(m_mutex);
    m_dialog = nullptr;
}

void CUPJob::TellDone()
{
    const std::scoped_lock lock(m_mutex);
    m_isDone = true;
    m_change.notify_all();
}

bool CUPJob::WaitUntilDone(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    return m_change.wait_for(lock, patience, [this] { return m_isDone; });
}

CUPDialog::CUPDialog(QWidget* parent, const QString& caption, bool isCancellable, Job job)
    : QDialog(parent),
      m_link(std::make_shared<CUPJob>(*this)),
      m_job(std::move(job)),
      m_canCancel(isCancellable),
      m_status(MakeLine(this)),
      m_bar(new QProgressBar(this)),
      m_percent(MakeLine(this)),
      m_cancel(new QPushButton(QStringLiteral("&Cancel"), this))
{
    setObjectName(QStringLiteral("CUPDialog"));
    setWindowTitle(caption.left(kLongestCaption));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowFlag(Qt::WindowCloseButtonHint, isCancellable);
    setWindowModality(Qt::ApplicationModal);
    Arrange();
    connect(m_cancel, &QPushButton::clicked, this, &CUPDialog::Cancel);
    if (!isCancellable)
        DisableCancel();
    ShowStatus(QString());
    ShowBar(0);
    ShowPercent(QStringLiteral("0%"));
}

CUPDialog::~CUPDialog()
{
    Abandon();
}

/// The dialog goes while its job may still be at work.
void CUPDialog::Abandon()
{
    if (m_result != 0)
        return;
    m_link->m_isCancelled = true;
    if (m_thread.joinable())
        m_link->WaitUntilDone(kClosing);
    End(kCancelled);
}

void CUPDialog::Arrange()
{
    m_bar->setRange(0, 100);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(QStringLiteral("Progress"));
    m_percent->setMinimumWidth(m_percent->fontMetrics().horizontalAdvance(QStringLiteral("100%")));
    m_percent->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_cancel->setAutoDefault(false);

    auto* grid = new QGridLayout(this);
    grid->addWidget(m_status, 0, 0, 1, 2);
    grid->addWidget(m_bar, 1, 0);
    grid->addWidget(m_percent, 1, 1);
    grid->addWidget(m_cancel, 2, 0, 1, 2, Qt::AlignRight);
    grid->setColumnStretch(0, 1);
    grid->setVerticalSpacing(10);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    m_bar->setMinimumWidth(fontMetrics().averageCharWidth() * kLettersWide);
}

int CUPDialog::Run()
{
    const QPointer<CUPDialog> self(this);
    QEventLoop loop;
    m_loop = &loop;
    // Modal at once, yet not seen: what is over in a moment must not flash.
    setAttribute(Qt::WA_DontShowOnScreen);
    show();
    QTimer::singleShot(kQuickJob, this, &CUPDialog::Appear);
    StartJob();
    if (m_result == 0)
        loop.exec(QEventLoop::DialogExec);
    if (self.isNull())
        return kCancelled;
    m_loop = nullptr;
    // The loop also ends with the whole program.
    Abandon();
    hide();
    return m_result;
}

void CUPDialog::StartJob()
{
    try {
        m_thread = std::thread([link = m_link, job = std::move(m_job)] {
            bool isDone = false;
            try {
                isDone = job(*link);
            } catch (const std::exception&) {
                // The result tells.
            }
            link->TellDone();
            link->Post([isDone](CUPDialog& dialog) {
                const bool isCancelled = dialog.m_link->IsCancelled();
                dialog.End(isCancelled ? kCancelled : isDone ? kSucceeded : kFailed);
            });
        });
    } catch (const std::system_error&) {
        End(kFailed);
    }
}

void CUPDialog::Appear()
{
    if (m_result != 0)
        return;
    hide();
    setAttribute(Qt::WA_DontShowOnScreen, false);
    show();
}

void CUPDialog::DisableCancel()
{
    m_canCancel = false;
    m_cancel->setEnabled(false);
}

void CUPDialog::End(int result)
{
    if (m_result != 0)
        return;
    m_result = result;
    m_link->Leave();
    if (m_thread.joinable()) {
        if (m_link->WaitUntilDone(0ms))
            m_thread.join();
        else
            m_thread.detach();
    }
    if (m_loop != nullptr)
        m_loop->exit();
}

void CUPDialog::ShowBar(int percent)
{
    m_bar->setValue(percent);
}

void CUPDialog::ShowStatus(const QString& text)
{
    m_status->setText(text);
}

void CUPDialog::ShowPercent(const QString& text)
{
    m_percent->setText(text);
}

void CUPDialog::Cancel()
{
    if (!m_canCancel || m_result != 0)
        return;
    m_link->m_isCancelled = true;
    ShowStatus(QStringLiteral("Closing..."));
    DisableCancel();
    QTimer::singleShot(kClosing, this, [this] { End(kCancelled); });
}

}  // namespace pastille::preview
