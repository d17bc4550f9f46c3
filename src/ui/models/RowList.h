#pragma once

#include <QAbstractListModel>

// A list model over a list of rows that it replaces as a whole, telling views only what changed:
// rows whose keys match at the head and the tail stay (and report changed contents), only the part
// between them is removed and inserted. Delegates, the selection and the scroll position survive.
template<typename Row>
class RowList : public QAbstractListModel
{
public:
    using QAbstractListModel::QAbstractListModel;

    const QList<Row> &rows() const { return m_rows; }
    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : int(m_rows.size()); }

protected:
    // `sameRow` says whether two rows are the same row (their keys); `sameContents` whether nothing
    // shown differs.
    template<typename SameRow, typename SameContents>
    void replaceRows(const QList<Row> &next, SameRow sameRow, SameContents sameContents)
    {
        qsizetype head = 0;
        while (head < m_rows.size() && head < next.size() && sameRow(m_rows[head], next[head]))
            ++head;
        qsizetype tail = 0;
        while (tail < m_rows.size() - head && tail < next.size() - head && sameRow(m_rows[m_rows.size() - 1 - tail], next[next.size() - 1 - tail]))
            ++tail;
        const qsizetype removed = m_rows.size() - head - tail;
        const qsizetype inserted = next.size() - head - tail;
        if (removed > 0) {
            beginRemoveRows({}, int(head), int(head + removed - 1));
            m_rows.remove(head, removed);
            endRemoveRows();
        }
        if (inserted > 0) {
            beginInsertRows({}, int(head), int(head + inserted - 1));
            for (qsizetype i = 0; i < inserted; ++i)
                m_rows.insert(head + i, next[head + i]);
            endInsertRows();
        }
        for (qsizetype i = 0; i < m_rows.size(); ++i) {
            if (!sameContents(m_rows[i], next[i])) {
                m_rows[i] = next[i];
                Q_EMIT this->dataChanged(this->index(int(i)), this->index(int(i)));
            }
        }
    }

    const Row &rowAt(int i) const { return m_rows[i]; }

private:
    QList<Row> m_rows;
};
