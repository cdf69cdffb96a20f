#pragma once

#include <QRadioButton>

namespace pastille::app {

/// A radio button painted as a broad button in the palette's colours; all of its face can be clicked.
class CSkinRadioButton final : public QRadioButton {
    Q_OBJECT

public:
    CSkinRadioButton(const QString& text, QSize smallest, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& at) const override { return rect().contains(at); }

private:
    QSize m_smallest;
};

}  // namespace pastille::app
