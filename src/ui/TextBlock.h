#pragma once

#include <QWidget>
#include <optional>

// Outside text (names, outputs, errors, notes) shown as plain text that never widens its
// column: it wraps at word boundaries where it can and anywhere where it must (a UUID, a
// 200-letter name), stops after a number of lines with an ellipsis, and then carries the whole
// text in its tooltip. Optionally selectable with the mouse and copyable.
class TextBlock : public QWidget {
    Q_OBJECT
public:
    explicit TextBlock(QWidget *parent = nullptr);
    explicit TextBlock(const QString &text, QWidget *parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString &text);
    void clear() { setText(QString()); }
    // 0: as many lines as the text needs.
    int maximumLines() const { return m_maximumLines; }
    void setMaximumLines(int lines);
    void setAlignment(Qt::Alignment alignment);
    void setSelectable(bool selectable);
    bool isSelectable() const { return m_selectable; }
    // Whether the last line shown is cut short with an ellipsis.
    bool isTruncated() const;
    QString selectedText() const;
    void selectAll();
    // The lines as shown, for tests.
    QStringList shownLines() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Line {
        QString text;
        int start = 0;
        qreal y = 0;
        qreal width = 0;
        bool elided = false;
    };
    struct Layout {
        QList<Line> lines;
        qreal height = 0;
        bool truncated = false;
    };
    Layout layoutFor(qreal width) const;
    const Layout &currentLayout() const;
    int positionAt(const QPoint &point) const;
    qreal lineLeft(const Line &line, qreal width) const;
    void textChanged();

    QString m_text;
    int m_maximumLines = 0;
    Qt::Alignment m_alignment = Qt::AlignLeft | Qt::AlignTop;
    bool m_selectable = false;
    int m_anchor = -1;
    int m_cursor = -1;
    mutable std::optional<Layout> m_layout;
    mutable int m_layoutWidth = -1;
};
