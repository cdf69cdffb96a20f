#pragma once

#include <QPushButton>

namespace pastille::app {

/// A push button that paints itself in the palette's colours, with its icon beside the text.
class CSkinButton final : public QPushButton {
    Q_OBJECT

public:
    enum class IconSide { Left, Right };

    /// `icon` is the name of a picture among the resources, as "next".
    CSkinButton(const QString& text, const QString& icon, IconSide side, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    IconSide m_side;
};

}  // namespace pastille::app
