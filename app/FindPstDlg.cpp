#include "app/FindPstDlg.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <algorithm>

#include "app/DialogUnits.h"
#include "app/HostPath.h"
#include "app/MessageBox.h"
#include "app/Strings.h"
#include "app/TXListCtrl.h"

namespace pastille::app {
namespace {

// Small enough for the window to answer at once, with lists of a million rows.
constexpr int kNewsMs = 50;
constexpr std::size_t kFilesAtATime = 10'000;

/// Text boxes take long over a line that goes on for ever.
constexpr qsizetype kLongestFolderShown = 8'192;

}  // namespace

CFindPstDlg::CFindPstDlg(QWidget* parent, IHost& host, RepairChoices& choices)
    : CWizardPage(QStringLiteral("CFindPstDlg"), parent), m_host(host)
{
    AddControls();
    m_next = MakeNextButton();
    AddFooter(WizardPage::Start, m_next);
    m_news.setInterval(kNewsMs);
    connect(&m_news, &QTimer::timeout, this, &CFindPstDlg::TakeNews);
    connect(m_find, &QPushButton::clicked, this, &CFindPstDlg::FindOrStop);
    connect(m_next, &QPushButton::clicked, this, [this] { GoTo(WizardPage::Scan); });
    connect(m_list, &CTXListCtrl::Chosen, this, [this, &choices](const std::filesystem::path& file) {
        choices.SetSource(file);
        m_next->setEnabled(!choices.sourceFileName.empty());
    });
    connect(m_list, &CTXListCtrl::NoneChosen, this, [this] { m_next->setEnabled(false); });
    FillDrives();
    m_drives->setFocus();
}

CFindPstDlg::~CFindPstDlg() = default;

void CFindPstDlg::AddControls()
{
    Body().addWidget(MakeHeading(QStringLiteral("Select the appropriate drive and click find to search")));
    Body().addWidget(
        MakeText(QStringLiteral("In case your PST file is not located in the default store location as "
                                "mentioned below. Use this option to search your PST file(s).")));
    QLabel* label = MakeText(QStringLiteral("Please select drive to search pst:"));
    m_drives = new QComboBox(this);
    m_drives->setEditable(true);
    m_drives->setInsertPolicy(QComboBox::NoInsert);
    m_drives->setCompleter(nullptr);
    m_drives->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_drives->setAccessibleName(label->text());
    label->setBuddy(m_drives);
    AddAccelerator(Qt::ALT | Qt::Key_P, m_drives);
    m_find = new CSkinButton(Text(strings::kFind), QStringLiteral("find"), CSkinButton::IconSide::Left, this);
    auto* row = new QHBoxLayout;
    row->addWidget(m_drives, 1);
    row->addWidget(m_find);
    m_folder = new QPlainTextEdit(this);
    m_folder->setReadOnly(true);
    m_folder->setTabChangesFocus(true);
    m_folder->setWordWrapMode(QTextOption::WrapAnywhere);
    m_folder->setUndoRedoEnabled(false);
    m_folder->setFixedHeight(fontMetrics().lineSpacing() * 2 + 14);
    m_folder->setAccessibleName(QStringLiteral("Folder being searched"));
    m_list = new CTXListCtrl(150, this);
    GiveRestOfHeight(*m_list);
    AddAccelerator(Qt::ALT | Qt::Key_F, m_list);
    Body().addWidget(label);
    Body().addLayout(row);
    Body().addWidget(m_folder);
    Body().addWidget(m_list, 1);
}

void CFindPstDlg::FillDrives()
{
    auto drives = m_host.Drives();
    if (drives.empty()) {
        // Once the page is there to be its parent.
        QTimer::singleShot(0, this, [this] {
            ShowBox(this, u"Drive Info retrieval failed ", u"ERROR", QMessageBox::Critical);
        });
    }
    std::ranges::sort(drives);
    for (const auto& drive : drives) {
        if (!m_host.IsRemovableDrive(drive))
            m_drives->addItem(ShownPath(drive), QByteArray::fromStdString(drive.native()));
    }
    m_drives->setCurrentIndex(m_drives->count() > 0 ? 0 : -1);
}

/// The drive whose text stands in the box, or the folder that was typed.
std::filesystem::path CFindPstDlg::Root() const
{
    const QString text = m_drives->currentText();
    if (const int drive = m_drives->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive); drive >= 0)
        return m_drives->itemData(drive).toByteArray().toStdString();
    if (text.isEmpty())
        return {};
    std::error_code error;
    const std::filesystem::path root = std::filesystem::absolute(ToPath(text), error);
    return root.has_filename() || !root.has_relative_path() ? root : root.parent_path();
}

void CFindPstDlg::FindOrStop()
{
    if (m_idle) {
        Begin();
        return;
    }
    m_search->Stop();
    m_idle = true;
    ShowIdle();
}

void CFindPstDlg::Begin()
{
    // One that was stopped may still have something to deliver.
    m_news.stop();
    m_search.reset();
    m_drives->setEnabled(true);
    m_folder->clear();
    m_list->Clear();
    const std::filesystem::path root = Root();
    if (m_host.IsRemovableDrive(root)) {
        ShowBox(this, strings::kRemovableDrive, strings::kProduct, QMessageBox::Information);
        return;
    }
    m_idle = false;
    m_find->setText(Text(strings::kStop));
    m_find->setIcon(QIcon(QStringLiteral(":/icons/stop.svg")));
    m_drives->setEnabled(false);
    m_list->setEnabled(false);
    m_next->setEnabled(false);
    m_search = std::make_unique<CDriveSearch>(root);
    m_news.start();
}

void CFindPstDlg::ShowIdle()
{
    m_find->setText(Text(strings::kFind));
    m_find->setIcon(QIcon(QStringLiteral(":/icons/find.svg")));
    m_list->setEnabled(true);
}

void CFindPstDlg::TakeNews()
{
    CDriveSearch::News news = m_search->Take(kFilesAtATime);
    m_list->Prepend(std::move(news.files));
    if (news.folder) {
        QString folder = ShownPath(*news.folder);
        if (folder.size() > kLongestFolderShown)
            folder.replace(kLongestFolderShown / 2, folder.size() - kLongestFolderShown, QChar(0x2026));
        m_folder->setPlainText(folder);
    }
    if (news.finished)
        End();
}

void CFindPstDlg::End()
{
    m_news.stop();
    m_search.reset();
    m_idle = true;
    ShowIdle();
    if (m_list->Rows() == 0) {
        m_list->AppendNotice(QStringLiteral("File Not Found"));
        m_list->setEnabled(false);
    }
    m_drives->setEnabled(true);
    m_folder->clear();
}

bool CFindPstDlg::MayLeave()
{
    if (m_idle)
        return true;
    ShowBox(
        this,
        u"An operation is in progress;\nPlease cancel the current\nProcess to go back to the main screen.",
        strings::kInformation, QMessageBox::Information);
    return false;
}

/// Enter in the drive box begins the search instead of pressing the page's default button.
void CFindPstDlg::keyPressEvent(QKeyEvent* event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && m_drives->hasFocus())
        m_find->click();
    else
        CWizardPage::keyPressEvent(event);
}

}  // namespace pastille::app
