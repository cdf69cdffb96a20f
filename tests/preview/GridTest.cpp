#include "preview/GridView.h"

#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "preview/GridLoader.h"
#include "preview/UPDialog.h"
#include "tests/preview/ShownGrid.h"

namespace pastille::tests {
namespace {

using namespace std::chrono_literals;
using namespace writer;
using preview::CUPDialog;
using preview::GridFamily;
using std::chrono::steady_clock;

CUPDialog* ProgressDialog()
{
    return qobject_cast<CUPDialog*>(QApplication::activeModalWidget());
}

bool SeesProgress()
{
    return CPerson::WaitUntil([] {
        return ProgressDialog() != nullptr && !ProgressDialog()->testAttribute(Qt::WA_DontShowOnScreen);
    });
}

/// Sees what progress dialogs show while they are up or about to be.
class CProgressWatch final : public QObject {
public:
    CProgressWatch()
    {
        moveToThread(qApp->thread());
        CPerson::OnUi([this] { qApp->installEventFilter(this); });
    }
    ~CProgressWatch() override
    {
        CPerson::OnUi([this] { qApp->removeEventFilter(this); });
    }
    bool eventFilter(QObject* object, QEvent* event) override
    {
        auto* dialog = qobject_cast<CUPDialog*>(object);
        if (dialog == nullptr || event->type() != QEvent::Show || !captions.isEmpty())
            return false;
        captions.append(dialog->windowTitle());
        auto* bar = dialog->findChild<QProgressBar*>();
        connect(bar, &QProgressBar::valueChanged, this, [this, dialog](int value) {
            values.append(value);
            for (const QLabel* label : dialog->findChildren<QLabel*>())
                texts.append(label->text());
        });
        return false;
    }

    QStringList captions, texts;
    QList<int> values;
};

TEST(GridTest, TwoHundredNotesReachAHundredPercent)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        for (int number = 0; number < 200; ++number) {
            AddItem(folder, u"IPM.StickyNote", [&](IMessageItem& item) {
                item.SetText(property::Subject,
                             u"Note " + std::u16string(1, static_cast<char16_t>(0x4E00 + number)));
                item.SetDate(property::DeliveryTime, kReceived);
            });
        }
    });
    CShownGrid grid;
    CProgressWatch watch;
    grid.Fill(GridFamily::Notes, store->Open());
    const auto categories = grid.Categories();
    ASSERT_EQ(categories.size(), 200u);
    for (std::size_t number = 0; number < categories.size(); ++number) {
        EXPECT_EQ(categories[number].size(), 1 + 17);
        EXPECT_EQ(categories[number][0].back().unicode(), 0x4E00 + number);
    }
    EXPECT_TRUE(CPerson::OnUi([&] { return grid.Tree().isExpanded(grid.Tree().model()->index(199, 0)); }));
    EXPECT_EQ(watch.captions, QStringList(QStringLiteral("Updating Notes")));
    EXPECT_TRUE(watch.texts.contains(QStringLiteral("Loading...")));
    EXPECT_TRUE(watch.texts.contains(QStringLiteral("50%")));
    EXPECT_EQ(watch.texts.back(), QStringLiteral("100%"));
    EXPECT_EQ(watch.values.back(), 100);
    EXPECT_TRUE(std::is_sorted(watch.values.begin(), watch.values.end()));
}

TEST(GridTest, ValuesAreCopiedAndOpenedByKeyboard)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        AddItem(folder, u"IPM.StickyNote", [](IMessageItem& item) {
            item.SetText(property::Body, u"<b>first</b>\nsecond" + std::u16string(100'000, u'x'));
        });
    });
    CShownGrid grid;
    grid.Fill(GridFamily::Notes, store->Open());
    CPerson::OnUi([&] {
        QTreeView& tree = grid.Tree();
        tree.setFocus();
        const QModelIndex category = tree.model()->index(0, 0);
        const QModelIndex content = tree.model()->index(9, 0, category);
        ASSERT_EQ(content.data().toString(), QStringLiteral("Content"));
        tree.setCurrentIndex(content.siblingAtRow(8));
        QTest::keyClick(&tree, Qt::Key_Down);
        QTest::keyClick(&tree, Qt::Key_C, Qt::ControlModifier);
        const QString copied = qApp->clipboard()->text();
        EXPECT_TRUE(copied.startsWith(QStringLiteral("<b>first</b>\nsecond")));
        EXPECT_EQ(copied.size(), 32'769);
        EXPECT_TRUE(content.siblingAtColumn(1)
                        .data(Qt::ToolTipRole)
                        .toString()
                        .contains(QStringLiteral("&lt;b&gt;first")));

        QTest::keyClick(&tree, Qt::Key_Return);
        const auto* box = tree.findChild<QPlainTextEdit*>();
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(box->isReadOnly());
        EXPECT_EQ(box->toPlainText(), copied);
    });
}

/// A store of notes whose reads can be slowed down, held up and made to fail.
class CHinderedStore {
public:
    explicit CHinderedStore(int notes)
        : m_made(StoreOf([&](IStoreFolder& folder) {
              for (int number = 0; number < notes; ++number) {
                  AddItem(folder, u"IPM.StickyNote",
                          [](IMessageItem& item) { item.SetText(property::Subject, u"Note"); });
              }
          })),
          m_component(m_files, m_made->Path().parent_path() / "profiles")
    {
        m_files.faults.onSourceRead = [this](std::uint64_t) { OnRead(); };
    }
    std::shared_ptr<preview::CPreviewStore> Open()
    {
        m_files.faults.shrinksTo.reset();
        auto store = std::make_shared<preview::CPreviewStore>(m_component, m_made->Path(), "windows-1252");
        preview::CPreviewStore::CUse use(*store);
        use.Add(use.Root()->GetFolders()->GetFolder(std::u16string(u"Items")), u"\\Items");
        return store;
    }

    std::atomic<std::chrono::milliseconds> delay = 0ms;  ///< of each read
    std::atomic<bool> isHeldUp = false;
    std::atomic<int> readsToFailure = -1;

private:
    void OnRead()
    {
        std::this_thread::sleep_for(delay.load());
        while (isHeldUp)
            std::this_thread::sleep_for(1ms);
        if (readsToFailure == 0)
            m_files.faults.shrinksTo = 0;
        else if (readsToFailure > 0)
            --readsToFailure;
    }

    std::unique_ptr<CPreviewedStore> m_made;
    CFaultyFileSystem m_files;
    component::CBuiltInComponent m_component;
};

TEST(GridTest, UnreadableItemsHaveNoValues)
{
    CHinderedStore hindered(3);
    CShownGrid grid;
    bool sawBoth = false;
    for (int reads = 0; !::testing::Test::HasFailure(); ++reads) {
        const auto store = hindered.Open();
        hindered.readsToFailure = reads;
        grid.Fill(GridFamily::Notes, store);
        const bool isAllRead = hindered.readsToFailure > 0;
        hindered.readsToFailure = -1;
        const auto categories = grid.Categories();
        EXPECT_TRUE(categories.empty() || categories.size() == 3) << reads;
        std::size_t unknown = 0;
        for (const QStringList& category : categories) {
            if (category[0] != QStringLiteral("UnKnown"))
                continue;
            ++unknown;
            EXPECT_EQ(category.size(), 1 + 16);
            EXPECT_EQ(ValueOf(category, QStringLiteral("Color")), QString()) << reads;
        }
        sawBoth = sawBoth || (unknown > 0 && unknown < categories.size());
        if (isAllRead) {
            EXPECT_EQ(unknown, 0u);
            break;
        }
    }
    EXPECT_TRUE(sawBoth);
}

TEST(GridTest, WhatAGridKeepsHasItsLimits)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        for (int number = 0; number < 60; ++number) {
            AddItem(folder, u"IPM.StickyNote", [](IMessageItem& item) {
                item.SetText(property::Subject, u"Note");
                item.SetText(property::Body, std::u16string(100'000, u'x'));
            });
        }
    });
    std::vector<preview::CGridItem> items;
    const auto load = [&](preview::GridLimits limits) {
        items.clear();
        const auto job = preview::MakeGridLoader(
            GridFamily::Notes, store->Open(), CPreviewedStore::Key(u"\\Items"),
            [&](preview::CUPJob&, std::vector<preview::CGridItem> more) {
                items.insert(items.end(), more.begin(), more.end());
            },
            limits);
        EXPECT_EQ(CPerson::OnUi([&] {
                      const auto dialog = std::make_unique<CUPDialog>(nullptr, QString(), true, job);
                      return dialog->Run();
                  }),
                  CUPDialog::kSucceeded);
    };
    constexpr int kContent = 9;
    // Texts get shorter, and end; the rows stay.
    load({.textUnits = 2100});
    ASSERT_EQ(items.size(), 60u);
    EXPECT_EQ(items[0].Name(), u"No…");
    EXPECT_EQ(items[0].Value(kContent), u"xx…");
    EXPECT_EQ(items[59].Value(kContent), u"");
    EXPECT_EQ(items[59].RowCount(), 16);
    std::size_t size = 0;
    for (const preview::CGridItem& item : items)
        size += item.TextSize();
    EXPECT_LE(size, 2100u);
    // Items end.
    load({.values = 2 * 18});
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[1].Value(kContent).size(), 32'769u);
    EXPECT_EQ(items[2].RowCount(), 0);
    EXPECT_NE(items[2].Name(), u"");
}

TEST(GridTest, ALongTextCostsOnlyItsBeginning)
{
    constexpr std::size_t kLong = 4u << 20;
    const auto store = StoreOf([](IStoreFolder& folder) {
        AddItem(folder, u"IPM.StickyNote",
                [](IMessageItem& item) { item.SetText(property::Body, std::u16string(kLong, u'x')); });
    });
    CFaultyFileSystem files;
    std::atomic<int> reads = 0;
    files.faults.onSourceRead = [&](std::uint64_t) { ++reads; };
    component::CBuiltInComponent component(files, store->Path().parent_path() / "profiles");
    auto opened = std::make_shared<preview::CPreviewStore>(component, store->Path(), "windows-1252");
    {
        preview::CPreviewStore::CUse use(*opened);
        use.Add(use.Root()->GetFolders()->GetFolder(std::u16string(u"Items")), u"\\Items");
    }
    CShownGrid grid;
    reads = 0;
    grid.Fill(GridFamily::Notes, opened);
    EXPECT_EQ(grid.Categories().size(), 1u);
    EXPECT_LT(reads, 200) << "of 1,000 blocks and more";
}

TEST(GridTest, CancelEndsWithinASecond)
{
    CHinderedStore hindered(2000);
    CShownGrid grid;
    const auto store = hindered.Open();
    hindered.delay = 10ms;
    const auto begin = steady_clock::now();
    grid.BeginFill(GridFamily::Notes, store);
    ASSERT_TRUE(SeesProgress());
    EXPECT_GE(steady_clock::now() - begin, 300ms);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return grid.Tree().model()->rowCount() > 0; }));
    EXPECT_TRUE(grid.IsFilling());
    const auto cancelled = steady_clock::now();
    CPerson().Clicks(QStringLiteral("&Cancel"));
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid.IsFilling(); }));
    EXPECT_LT(steady_clock::now() - cancelled, 4s) << "a busy machine's second; all of it takes 20";
    const auto loaded = grid.Categories().size();
    EXPECT_GT(loaded, 0u);
    EXPECT_LT(loaded, 2000u);
}

TEST(GridTest, CancelLeavesALoaderThatHangs)
{
    CHinderedStore hindered(5);
    auto grid = std::make_unique<CShownGrid>();
    auto store = hindered.Open();
    const std::weak_ptr<preview::CPreviewStore> held = store;
    hindered.isHeldUp = true;
    EXPECT_TRUE(grid->TakesInput());
    grid->BeginFill(GridFamily::Notes, store);
    store.reset();
    CPerson::Settle();
    EXPECT_FALSE(grid->TakesInput());
    ASSERT_TRUE(SeesProgress());
    const auto cancelled = steady_clock::now();
    CPerson::OnUi([] { QTest::keyClick(ProgressDialog(), Qt::Key_Escape); });
    CPerson().Sees(QStringLiteral("Closing..."));
    EXPECT_FALSE(CPerson().CanClick(QStringLiteral("&Cancel")));
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid->IsFilling(); }));
    EXPECT_GE(steady_clock::now() - cancelled, 900ms);
    EXPECT_LT(steady_clock::now() - cancelled, 5s);
    EXPECT_TRUE(grid->TakesInput());
    // Neither the pane nor the dialog is there any more when the loader goes on.
    grid.reset();
    EXPECT_FALSE(held.expired());
    hindered.isHeldUp = false;
    EXPECT_TRUE(CPerson::WaitUntil([&] { return held.expired(); }));
}

TEST(GridTest, ThePaneCanGoWhileItIsFilled)
{
    CHinderedStore hindered(500);
    CShownGrid grid;
    const auto store = hindered.Open();
    hindered.delay = 10ms;
    grid.BeginFill(GridFamily::Notes, store);
    ASSERT_TRUE(SeesProgress());
    grid.Close();
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !grid.IsFilling(); }, 1s));
}

TEST(GridTest, AJobsResultIsTheDialogs)
{
    const auto run = [](bool isCancellable, CUPDialog::Job job) {
        return CPerson::OnUi([&] {
            const auto dialog =
                std::make_unique<CUPDialog>(nullptr, QString(300, u'c'), isCancellable, std::move(job));
            EXPECT_EQ(dialog->windowTitle().size(), 255);
            return dialog->Run();
        });
    };
    EXPECT_EQ(run(true, [](preview::CUPJob&) { return true; }), 1);
    EXPECT_EQ(run(true, [](preview::CUPJob&) { return false; }), 2);
    EXPECT_EQ(run(true, [](preview::CUPJob&) -> bool { throw std::bad_alloc(); }), 2);
    const auto cancel = [](preview::CUPJob& job) {
        job.Post([](CUPDialog& dialog) { dialog.close(); });
        for (int wait = 0; wait < 100 && !job.IsCancelled(); ++wait)
            std::this_thread::sleep_for(5ms);
        return true;
    };
    EXPECT_EQ(run(true, cancel), 65538);
    EXPECT_EQ(run(false, cancel), 1);
    EXPECT_EQ(run(true,
                  [&](preview::CUPJob& job) {
                      job.Post([](CUPDialog& dialog) { dialog.DisableCancel(); });
                      return cancel(job);
                  }),
              1);
    EXPECT_EQ(run(true,
                  [](preview::CUPJob& job) {
                      job.Post([](CUPDialog& dialog) { dialog.End(7); });
                      return true;
                  }),
              7);
}

}  // namespace
}  // namespace pastille::tests
