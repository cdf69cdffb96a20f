#pragma once

#include <QPlainTextEdit>

namespace pastille::app {

/// A text to read that may hold long paths: it breaks anywhere, takes the height that it needs up to a number
/// of lines, and scrolls beyond them.
class CWrappedText final : public QPlainTextEdit {
    Q_OBJECT

public:
    CWrappedText(QWidget* parent, int mostLines);

    void ShowText(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void FitHeight();

    int m_mostLines;
    bool m_isFitting = false;
};

}  // namespace pastille::app
