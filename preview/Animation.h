#pragma once

#include <QTimer>
#include <QWidget>

namespace pastille::preview {

/// A small moving picture that says that work goes on: sheets that travel from an old file to a new one.
class CAnimation final : public QWidget {
    Q_OBJECT

public:
    explicit CAnimation(QWidget* parent);

    /// Plays from the first picture on, again and again.
    void Play();
    void Stop();

    QSize sizeHint() const override { return {272, 60}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QTimer m_timer;
    int m_picture = 0;
};

}  // namespace pastille::preview
