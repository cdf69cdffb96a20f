#pragma once

#include <QCheckBox>
#include <QTest>
#include <QTreeView>

#include <atomic>
#include <memory>
#include <vector>

#include "preview/GridView.h"
#include "tests/app/Person.h"
#include "tests/preview/MadeStore.h"

namespace pastille::tests {

/// 1 March 2011, 14:05:09.042
inline constexpr double kReceived = 40603 + (14 * 3600 + 5 * 60 + 9.042) / 86400;

/// A grid in a window of its own.
class CShownGrid {
public:
    CShownGrid()
    {
        CPerson::OnUi([this] {
            m_window = std::make_unique<QWidget>();
            m_grid = new preview::CGridView(m_window.get());
            m_grid->resize(600, 500);
            m_window->resize(600, 550);
            m_beside = new QCheckBox(m_window.get());
            m_beside->move(0, 510);
            m_window->show();
        });
    }
    ~CShownGrid() { Close(); }
    CShownGrid(const CShownGrid&) = delete;
    CShownGrid& operator=(const CShownGrid&) = delete;

    void Fill(preview::GridFamily family, const std::shared_ptr<preview::CPreviewStore>& store,
              std::u16string_view path = u"\\Items")
    {
        CPerson::OnUi([&] { m_grid->Fill(family, store, CPreviewedStore::Key(path)); });
    }
    void BeginFill(preview::GridFamily family, const std::shared_ptr<preview::CPreviewStore>& store)
    {
        m_isFilling = true;
        CPerson::BeginOnUi([this, family, store] {
            m_grid->Fill(family, store, CPreviewedStore::Key(u"\\Items"));
            m_isFilling = false;
        });
    }
    bool IsFilling() const { return m_isFilling; }
    void Close()
    {
        CPerson::OnUi([this] { m_window.reset(); });
    }
    /// Whether a click beside the grid reaches what is there.
    bool TakesInput()
    {
        return CPerson::OnUi([this] {
            m_beside->setChecked(false);
            QTest::mouseClick(m_window->windowHandle(), Qt::LeftButton, {}, m_beside->geometry().center());
            return m_beside->isChecked();
        });
    }

    /// A category of the grid: its caption, then "label=value" of each row.
    std::vector<QStringList> Categories() const
    {
        return CPerson::OnUi([this] {
            const QAbstractItemModel& model = *Tree().model();
            std::vector<QStringList> categories;
            for (int item = 0; item < model.rowCount(); ++item) {
                const QModelIndex category = model.index(item, 0);
                QStringList texts{category.data().toString()};
                for (int row = 0; row < model.rowCount(category); ++row) {
                    texts.append(model.index(row, 0, category).data().toString() + u'=' +
                                 model.index(row, 1, category).data().toString());
                }
                categories.push_back(texts);
            }
            return categories;
        });
    }
    QTreeView& Tree() const { return *m_grid->findChild<QTreeView*>(); }

private:
    std::unique_ptr<QWidget> m_window;
    preview::CGridView* m_grid = nullptr;
    QCheckBox* m_beside = nullptr;
    std::atomic<bool> m_isFilling = false;
};

/// The store that holds a folder "Items", filled.
inline std::unique_ptr<CPreviewedStore> StoreOf(const std::function<void(writer::IStoreFolder& folder)>& fill)
{
    return std::make_unique<CPreviewedStore>(
        [&](writer::IStoreFolder& root) { fill(*AddFolder(root, u"Items", u"")); });
}

/// The value of a category's row; "(none)" when it has no such row.
inline QString ValueOf(const QStringList& category, const QString& label)
{
    for (const QString& row : category) {
        if (row.startsWith(label + u'='))
            return row.mid(label.size() + 1);
    }
    return QStringLiteral("(none)");
}

}  // namespace pastille::tests
