// A row of tabs over one area that scrolls: whose pages are shown in it is decided by who placed them, not by the tabs.
#ifndef QT_KIVPAGETABS_H
#define QT_KIVPAGETABS_H

#include <QPointer>
#include <QWidget>

class QScrollArea;
class QTabBar;

class KivPageTabs : public QWidget {
    Q_OBJECT

public:
    explicit KivPageTabs(QWidget* parent = nullptr);
    ~KivPageTabs() override;

    QTabBar* tabs() const;
    // Puts a page into the area, in place of the one that was there, which has no parent then. The page stays its
    // owner's.
    void place(QWidget* page);
    QWidget* page() const;

private:
    QTabBar* bar;
    QScrollArea* area;
};

#endif
