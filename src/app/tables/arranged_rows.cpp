#include "app/tables/arranged_rows.h"

#include "app/controls/item_roles.h"

#include <QMimeData>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace ostrel {
namespace {

constexpr int kAgain = 250; // milliseconds from a change that moves rows until they are moved
constexpr auto kFilesMime = u"text/uri-list";

// Text whose bytes sort as a person counts: a run of digits goes behind the count of its digits.
std::string naturalKey(const QString& text) {
    const QByteArray bytes = text.toCaseFolded().toUtf8();
    std::string key;
    key.reserve(static_cast<std::size_t>(bytes.size()) + 8);
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    for (qsizetype at = 0; at < bytes.size();) {
        if (!isDigit(bytes[at])) {
            key.push_back(bytes[at++]);
            continue;
        }
        while (at + 1 < bytes.size() && bytes[at] == '0' && isDigit(bytes[at + 1])) ++at;
        qsizetype end = at;
        while (end < bytes.size() && isDigit(bytes[end])) ++end;
        key.push_back('0');
        key.push_back(static_cast<char>(std::min<qsizetype>(end - at, 127)));
        key.append(bytes.constData() + at, static_cast<std::size_t>(end - at));
        at = end;
    }
    return key;
}

QString wordOf(const QModelIndex& cell) {
    const QVariant text = cell.data(Qt::DisplayRole);
    if (text.isValid() && !text.toString().isEmpty()) return text.toString();
    return cell.data(BadgeRole).value<Badge>().word;
}

} // namespace

bool ArrangedRows::Key::operator<(const Key& other) const {
    return number != other.number ? number < other.number : text < other.text;
}

ArrangedRows::ArrangedRows(QAbstractItemModel& records, Telling telling, QObject* parent)
    : QAbstractProxyModel(parent), records_(records), telling_(std::move(telling)) {
    again_.setSingleShot(true);
    again_.setInterval(kAgain);
    connect(&again_, &QTimer::timeout, this, [this] {
        beginChange();
        endChange();
    });
    setSourceModel(&records);
    connectRecords();
    arrange();
}

void ArrangedRows::connectRecords() {
    using Model = QAbstractItemModel;
    const auto begin = [this] { beginChange(); };
    const auto end = [this] {
        forgetCaches();
        endChange();
    };
    connect(&records_, &Model::modelAboutToBeReset, this, [this] { beginResetModel(); });
    connect(&records_, &Model::modelReset, this, [this] {
        forgetCaches();
        arrange();
        endResetModel();
        Q_EMIT arranged();
    });
    // In the order of the list rows come and go where they do there; otherwise all places change.
    connect(&records_, &Model::rowsAboutToBeInserted, this, [this](const QModelIndex&, int first, int last) {
        isPlain() ? beginInsertRows(QModelIndex(), first, last) : beginChange();
    });
    connect(&records_, &Model::rowsInserted, this, [this, end] {
        if (!isPlain()) return end();
        arrange();
        endInsertRows();
        Q_EMIT arranged();
    });
    connect(&records_, &Model::rowsAboutToBeRemoved, this, [this](const QModelIndex&, int first, int last) {
        isPlain() ? beginRemoveRows(QModelIndex(), first, last) : beginChange();
    });
    connect(&records_, &Model::rowsRemoved, this, [this, end] {
        if (!isPlain()) return end();
        arrange();
        endRemoveRows();
        Q_EMIT arranged();
    });
    connect(&records_, &Model::rowsAboutToBeMoved, this, begin);
    connect(&records_, &Model::rowsMoved, this, end);
    connect(&records_, &Model::layoutAboutToBeChanged, this, begin);
    connect(&records_, &Model::layoutChanged, this, end);
    connect(&records_, &Model::dataChanged, this, [this](const QModelIndex& from, const QModelIndex& to) {
        takeChange(from.row(), to.row());
        if (shown_.empty()) return;
        const int first = from.row() == to.row() ? shownOf(from.row()) : isPlain() ? from.row() : 0;
        const int last = from.row() == to.row() ? first : isPlain() ? to.row() : rowCount() - 1;
        if (first >= 0) Q_EMIT dataChanged(index(first, from.column()), index(last, to.column()));
    });
    connect(&records_, &Model::headerDataChanged, this, &ArrangedRows::headerDataChanged);
}

// What views hold on to goes by its record.
void ArrangedRows::beginChange() {
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    from_ = persistentIndexList();
    to_.clear();
    for (const QModelIndex& shown : std::as_const(from_)) to_ << QPersistentModelIndex(mapToSource(shown));
}

void ArrangedRows::endChange() {
    again_.stop();
    arrange();
    QModelIndexList now;
    for (const QPersistentModelIndex& record : std::as_const(to_)) now << mapFromSource(record);
    changePersistentIndexList(from_, now);
    from_.clear();
    to_.clear();
    Q_EMIT layoutChanged({}, VerticalSortHint);
    Q_EMIT arranged();
}

void ArrangedRows::arrange() {
    const int count = records_.rowCount();
    shown_.clear();
    shown_.reserve(static_cast<std::size_t>(count));
    if (words_.isEmpty()) {
        shown_.resize(static_cast<std::size_t>(count));
        std::iota(shown_.begin(), shown_.end(), 0);
    } else {
        text_.resize(static_cast<std::size_t>(count));
        int asked = -1;
        bool isShown = false;
        for (int record = 0; record < count; ++record) {
            const int head = headOf(record);
            if (head != asked) isShown = isFound(head);
            asked = head;
            if (isShown) shown_.push_back(record);
        }
    }
    if (column_ >= 0) {
        takeKeys(count);
        sortShown();
    }
    place_.assign(static_cast<std::size_t>(count), -1);
    for (std::size_t at = 0; at < shown_.size(); ++at) place_[static_cast<std::size_t>(shown_[at])] = int(at);
}

// Lines that belong to one above them follow it in their own order, whichever way it is sorted.
void ArrangedRows::sortShown() {
    std::vector<int> heads(keys_.size());
    for (std::size_t record = 0; record < heads.size(); ++record) heads[record] = headOf(static_cast<int>(record));
    std::stable_sort(shown_.begin(), shown_.end(), [&](int a, int b) {
        const int headA = heads[static_cast<std::size_t>(a)];
        const int headB = heads[static_cast<std::size_t>(b)];
        if (headA == headB) return a < b;
        const Key& keyA = keys_[static_cast<std::size_t>(headA)];
        const Key& keyB = keys_[static_cast<std::size_t>(headB)];
        if (keyA < keyB) return order_ == Qt::AscendingOrder;
        if (keyB < keyA) return order_ == Qt::DescendingOrder;
        return headA < headB;
    });
}

void ArrangedRows::takeKeys(int count) {
    if (keys_.size() == static_cast<std::size_t>(count)) return;
    keys_.clear();
    keys_.reserve(static_cast<std::size_t>(count));
    for (int record = 0; record < count; ++record) keys_.push_back(headOf(record) == record ? keyOf(record) : Key{});
}

ArrangedRows::Key ArrangedRows::keyOf(int record) const {
    const QModelIndex cell = records_.index(record, column_);
    const QVariant own = cell.data(SortRole);
    if (own.isValid() && own.typeId() != QMetaType::QString) {
        const double number = own.toDouble();
        return {std::isnan(number) ? -HUGE_VAL : number, {}};
    }
    if (own.isValid()) return {0, naturalKey(own.toString())};
    const QVariant text = cell.data(Qt::DisplayRole);
    if (text.isValid() && text.typeId() != QMetaType::QString) return {text.toDouble(), {}};
    if (const QVariant check = cell.data(Qt::CheckStateRole); check.isValid()) return {-check.toDouble(), {}};
    return {0, naturalKey(wordOf(cell))};
}

QString ArrangedRows::searchText(int record) const {
    QStringList parts;
    const int columns = records_.columnCount();
    for (int column = 0; column < columns; ++column) {
        if (telling_.filterColumns.isEmpty() || telling_.filterColumns.contains(column))
            parts << wordOf(records_.index(record, column));
    }
    return parts.join(u'\n').toCaseFolded();
}

bool ArrangedRows::isFound(int record) {
    QString& text = text_[static_cast<std::size_t>(record)];
    if (text.isNull()) text = searchText(record);
    return std::all_of(words_.begin(), words_.end(), [&](const QString& word) { return text.contains(word); });
}

// Made anew for the rows that changed; only where that moves, shows or hides one, all are arranged again.
void ArrangedRows::takeChange(int first, int last) {
    if (isPlain()) {
        text_.clear();
        keys_.clear();
        return;
    }
    for (int record = first; record <= last && record < static_cast<int>(place_.size()); ++record) {
        const auto at = static_cast<std::size_t>(record);
        if (headOf(record) != record) continue;
        bool moves = false;
        if (column_ >= 0 && at < keys_.size()) {
            Key key = keyOf(record);
            moves = key != keys_[at];
            keys_[at] = std::move(key);
        }
        if (at < text_.size()) {
            text_[at] = QString();
            if (!words_.isEmpty()) moves = moves || isFound(record) != (place_[at] >= 0);
        }
        if (moves && !again_.isActive()) again_.start();
    }
}

void ArrangedRows::forgetCaches() {
    keys_.clear();
    text_.clear();
}

void ArrangedRows::setFilter(const QString& text) {
    const QStringList words = text.toCaseFolded().split(u' ', Qt::SkipEmptyParts);
    if (words == words_) return;
    beginChange();
    words_ = words;
    endChange();
}

void ArrangedRows::sort(int column, Qt::SortOrder order) {
    if (column == column_ && (order == order_ || column < 0)) return;
    beginChange();
    if (column != column_) keys_.clear();
    column_ = column;
    order_ = order;
    endChange();
}

int ArrangedRows::hiddenCount() const {
    int hidden = 0;
    for (int record = 0; record < static_cast<int>(place_.size()); ++record)
        hidden += place_[static_cast<std::size_t>(record)] < 0 && headOf(record) == record ? 1 : 0;
    return hidden;
}

int ArrangedRows::shownOf(int record) const {
    const auto at = static_cast<std::size_t>(record);
    return record >= 0 && at < place_.size() ? place_[at] : -1;
}

QModelIndex ArrangedRows::mapToSource(const QModelIndex& shown) const {
    if (!shown.isValid() || shown.row() >= rowCount()) return {};
    return records_.index(recordOf(shown.row()), shown.column());
}

QModelIndex ArrangedRows::mapFromSource(const QModelIndex& record) const {
    const int row = record.isValid() ? shownOf(record.row()) : -1;
    return row < 0 ? QModelIndex() : createIndex(row, record.column());
}

QModelIndex ArrangedRows::index(int row, int column, const QModelIndex& parent) const {
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

QModelIndex ArrangedRows::parent(const QModelIndex&) const { return {}; }

QModelIndex ArrangedRows::sibling(int row, int column, const QModelIndex&) const { return index(row, column); }

bool ArrangedRows::hasChildren(const QModelIndex& parent) const { return !parent.isValid() && rowCount() > 0; }

int ArrangedRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(shown_.size());
}

int ArrangedRows::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : records_.columnCount(); }

Qt::ItemFlags ArrangedRows::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractProxyModel::flags(index);
    return index.isValid() && telling_.files ? flags | Qt::ItemIsDragEnabled : flags;
}

QVariant ArrangedRows::data(const QModelIndex& index, int role) const {
    QVariant own = QAbstractProxyModel::data(index, role);
    if (!noteOf_ || !index.isValid() || (role != Qt::ToolTipRole && role != Qt::AccessibleDescriptionRole)) return own;
    const QString note = noteOf(recordOf(index.row()));
    if (note.isEmpty()) return own;
    return own.toString().isEmpty() ? note : QStringLiteral("%1\n%2").arg(note, own.toString());
}

QMimeData* ArrangedRows::mimeData(const QModelIndexList& indexes) const {
    QMimeData* data = QAbstractProxyModel::mimeData(indexes);
    if (!telling_.files) return data;
    if (!data) data = new QMimeData;
    QList<QUrl> urls;
    int before = -1;
    for (const QModelIndex& index : indexes) {
        if (!index.isValid() || index.row() == std::exchange(before, index.row())) continue;
        const QStringList files = telling_.files(recordOf(index.row()));
        for (const QString& file : files) {
            const QUrl url = QUrl::fromLocalFile(file);
            if (!urls.contains(url)) urls << url;
        }
    }
    data->setUrls(urls);
    return data;
}

QStringList ArrangedRows::mimeTypes() const {
    QStringList types = QAbstractProxyModel::mimeTypes();
    if (telling_.files) types << QString::fromUtf16(kFilesMime);
    return types;
}

bool ArrangedRows::canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                   const QModelIndex& parent) const {
    const QStringList own = records_.mimeTypes();
    const bool isOwn =
        std::any_of(own.begin(), own.end(), [data](const QString& type) { return data->hasFormat(type); });
    return isPlain() && isOwn && records_.canDropMimeData(data, action, row, column, mapToSource(parent));
}

} // namespace ostrel
