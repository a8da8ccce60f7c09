#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

class ShortcutItem;

// A shortcut's icon as a widget: the gradient square with its glyph. `standalone` keeps a fixed
// size × size frame; `badge` fills whatever its container gives it. Calls the on-screen handler
// (the icon queue's prioritizeIcon) the first time it is shown for an item.
class ShortcutIconView : public QWidget {
    Q_OBJECT
public:
    enum class Style { badge, standalone };
    explicit ShortcutIconView(int size = 64, Style style = Style::standalone,
                              QWidget *parent = nullptr);

    void setItem(ShortcutItem *item);
    ShortcutItem *item() const { return m_item; }
    // Repaint after the record changed (its icon bytes may be new).
    void refresh();

    // Shared by every icon view: what to call when an icon comes on screen.
    static void setOnScreenHandler(std::function<void(ShortcutItem *)> handler);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void announce();

    ShortcutItem *m_item = nullptr;
    quint64 m_revision = 0;
    bool m_announced = false;
};
