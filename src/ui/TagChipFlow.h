#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class FlowLayout;
class Tag;

// A wrapping flow of removable tag chips (dot, name, remove button), followed by an optional
// trailing widget. Removing a chip emits removeRequested; the owner changes the record.
class TagChipFlow : public QWidget {
    Q_OBJECT
public:
    explicit TagChipFlow(QWidget *parent = nullptr);

    void setTags(const QList<Tag *> &tags);
    const QList<Tag *> &tags() const { return m_tags; }
    // Placed after the last chip; the flow takes ownership.
    void setTrailing(QWidget *widget);
    FlowLayout *flowLayout() const { return m_layout; }

signals:
    void removeRequested(Tag *tag);

private:
    FlowLayout *m_layout;
    QList<Tag *> m_tags;
    QList<QWidget *> m_chips;
    QPointer<QWidget> m_trailing;
};

// One chip: a capsule of the tag's colour at 16 % with an 8-point dot, the name and "xmark".
class TagChip : public QWidget {
    Q_OBJECT
public:
    TagChip(Tag *tag, QWidget *parent = nullptr);
    Tag *tag() const { return m_tag; }

signals:
    void removeRequested(Tag *tag);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Tag *m_tag;
};
