#pragma once

#include <QDialog>
#include <QSvgRenderer>

#include <optional>

#include "app/RepairWizard.h"
#include "app/SkinButton.h"

class QLabel;
class QVBoxLayout;

namespace pastille::app {

/// A page of the wizard: a modal dialog below a banner that ends itself and names the page to follow.
class CWizardPage : public QDialog {
    Q_OBJECT

public:
    /// The page that was asked for; None when this one was closed.
    WizardPage Following() const { return m_following; }
    /// True when the page was ended by the button that begins the repair.
    bool IsRepairAsked() const { return result() == Accepted; }

    /// True when the user has given the page another size than the one it came up with.
    bool IsResized() const { return size() != m_initialSize; }

    /// Where the page comes up on the screen, without its frame; else it is centred on its parent.
    void SetCorner(const QPoint& corner) { m_corner = corner; }

    void reject() override;

protected:
    CWizardPage(const QString& className, QWidget* parent);

    QVBoxLayout& Body() { return *m_body; }
    /// A bold line.
    QLabel* MakeHeading(const QString& text);
    /// A text that wraps and is never taken as markup.
    QLabel* MakeText(const QString& text);
    /// "Browse...".
    CSkinButton* MakeBrowseButton();
    /// Gives a list the height that the other controls leave.
    void GiveRestOfHeight(QWidget& list);
    /// Ends the page's controls with the row "Back" (when there is a page to go back to) and the given
    /// button.
    void AddFooter(WizardPage back, CSkinButton* onward);
    /// The button "Next", disabled.
    CSkinButton* MakeNextButton();
    /// Gives a control that has no text of its own to carry one an accelerator.
    void AddAccelerator(const QKeySequence& keys, QWidget* focused);

    /// Ends this page, when it may be left; the given one follows.
    void GoTo(WizardPage page);
    /// Called when the window becomes active: what was chosen may have gone meanwhile.
    virtual void LookAgain() {}
    /// Asked before the page ends without going on. A page that must stay says so to the user.
    virtual bool MayLeave() { return true; }

    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QSize FrameSize() const;
    QSize Room() const;
    void CenterOnParent();

    QWidget* m_content;
    QVBoxLayout* m_body;
    QSvgRenderer m_banner;
    QSize m_initialSize;
    std::optional<QPoint> m_corner;
    int m_footerHeight = 0;
    WizardPage m_following = WizardPage::None;
};

}  // namespace pastille::app
