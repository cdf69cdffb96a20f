#pragma once

#include <QAbstractListModel>
#include <QTableView>

#include <deque>
#include <filesystem>
#include <optional>
#include <vector>

namespace pastille::app {

/// The rows of a list of files. The path of a row is kept beside the text that it shows.
class CFileListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void Append(std::vector<std::filesystem::path> files);
    /// Each file becomes the first row in its turn.
    void Prepend(std::vector<std::filesystem::path> files);
    /// A row that stands for no file.
    void AppendNotice(const QString& text);
    void Clear();
    /// Nothing for a notice.
    std::optional<std::filesystem::path> File(const QModelIndex& index) const;

private:
    std::deque<std::filesystem::path> m_files;
    QString m_notice;  ///< the last row, when it is not empty
};

/// A list of files under a header, of which one can be chosen with the mouse or the keyboard.
class CTXListCtrl final : public QTableView {
    Q_OBJECT

public:
    /// The column is at least so many dialog units wide, and as wide as the longest row.
    CTXListCtrl(int columnUnits, QWidget* parent);

    void Append(std::vector<std::filesystem::path> files);
    void Prepend(std::vector<std::filesystem::path> files);
    void AppendNotice(const QString& text) { m_files.AppendNotice(text); }
    void Clear();
    int Rows() const { return m_files.rowCount(); }

signals:
    /// A row was chosen that stands for a file.
    void Chosen(const std::filesystem::path& file);
    /// None is chosen any more.
    void NoneChosen();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void Measure(const std::vector<std::filesystem::path>& files);
    void FitColumn();
    void TellChoice();

    CFileListModel m_files;
    int m_columnUnits;
    std::size_t m_longest = 0;  ///< bytes of the longest path measured
    int m_widest = 0;           ///< its width in pixels
};

}  // namespace pastille::app
