#pragma once

#include <QAbstractButton>

namespace pastille::app {

/// A link: a button that looks like underlined text, wraps where it must, and takes the keyboard's focus;
/// Enter opens it, as the space bar does. Its text is never markup.
class CLinkButton final : public QAbstractButton {
    Q_OBJECT

public:
    explicit CLinkButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace pastille::app
