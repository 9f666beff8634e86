#include "app/poly/join/group_card_view.h"

#include "app/controls/item_cells.h"
#include "app/controls/item_delegates.h"
#include "app/controls/symbols.h"
#include "app/controls/theme.h"
#include "app/poly/join/group_tree_model.h"
#include "platform/text/text.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <QTreeView>
#include <array>

namespace ostrel {
namespace {

using Color = ProcessingStatus::Color;

constexpr int kCardGap = 3;  // above and below a card
constexpr int kPadding = 7;  // inside it
constexpr int kChevron = 28; // from its left edge to its text
constexpr int kSymbol = 16;
constexpr int kStep = 30; // from symbol to symbol
constexpr std::array kActions{GroupCardView::Action::load, GroupCardView::Action::play, GroupCardView::Action::remove};

// "Completed", or "Completed, Identical" where that was proven.
QString resultText(const ItemOutcome& outcome) {
    const QString word = outcome.status.shortDisplayText();
    return outcome.proof ? QStringLiteral("%1, %2").arg(word, outcome.proofText()) : word;
}

QString symbolOf(GroupCardView::Action action) {
    switch (action) {
    case GroupCardView::Action::load: return QStringLiteral("waveform");
    case GroupCardView::Action::play: return QStringLiteral("play.fill");
    case GroupCardView::Action::remove: break;
    }
    return QStringLiteral("xmark");
}

QString helpOf(GroupCardView::Action action) {
    switch (action) {
    case GroupCardView::Action::load: return QStringLiteral("Load this group for click-through playback");
    case GroupCardView::Action::play: return QStringLiteral("Play all ISOs as interleaved poly (ground truth)");
    case GroupCardView::Action::remove: break;
    }
    return QStringLiteral("Delete this group; its files go to Ungrouped Files");
}

Badge badgeOf(const ISOGroupCandidate& group) {
    if (group.groupingMethod == GroupingMethod::manual)
        return {QStringLiteral("circle.lefthalf.filled"), rawText(GroupingMethod::manual), Color::blue};
    const QString word = rawText(group.confidence);
    switch (group.confidence) {
    case GroupConfidence::high: return {QStringLiteral("checkmark.seal.fill"), word, Color::green};
    case GroupConfidence::medium: return {QStringLiteral("exclamationmark.circle"), word, Color::yellow};
    case GroupConfidence::low: break;
    }
    return {QStringLiteral("exclamationmark.triangle"), word, Color::orange};
}

bool isUnfolded(const QStyleOptionViewItem& option) { return option.state.testFlag(QStyle::State_Open); }

QRect cardOf(const QRect& row) { return row.adjusted(0, kCardGap, -2, -kCardGap); }

} // namespace

QString groupDetails(const ISOGroupCandidate& group) {
    QStringList parts{rawText(group.groupingMethod)};
    if (!group.timecode.isEmpty()) parts << QStringLiteral("Timecode: ") + group.timecode;
    parts << QString::number(group.isoFiles.size()) + QStringLiteral(" channels");
    if (!group.partsText().isEmpty()) parts << group.partsText();
    if (group.duration) parts << clockText(*group.duration);
    return parts.join(QStringLiteral("   •   "));
}

GroupCardView::GroupCardView(PolyToolsViewModel& viewModel, GroupTreeModel& model, QObject* parent)
    : QStyledItemDelegate(parent), viewModel_(viewModel), model_(model) {}

QSize GroupCardView::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int line = QFontMetrics(option.font).height();
    if (!model_.isGroup(index)) return {200, line + 9};
    const auto* view = qobject_cast<const QTreeView*>(option.widget);
    const int lines = view && view->isExpanded(index) ? 3 : 2;
    return {200, lines * line + (lines - 1) * 3 + 2 * (kPadding + kCardGap)};
}

void GroupCardView::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(item.font);
    model_.isGroup(index) ? paintGroup(*painter, item, index) : paintIso(*painter, item, index);
    painter->restore();
}

void GroupCardView::paintGroup(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const Theme& theme = themeOf(option.palette);
    const QRect card = cardOf(option.rect);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter.setPen(isSelected ? theme.accentText : theme.border);
    painter.setBrush(isSelected ? theme.selection : theme.raised);
    painter.drawRoundedRect(QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5), 7, 7);

    const int height = option.fontMetrics.height();
    const QString chevron = isUnfolded(option) ? QStringLiteral("chevron.down") : QStringLiteral("chevron.right");
    QRect line(card.left() + kChevron, card.top() + kPadding, card.width() - kChevron - kPadding, height);
    paintSymbol(painter, chevron, QRectF(card.left() + 7, line.center().y() - 6.5, 14, 14), theme.secondaryText);
    line.setRight(actionRect(option.rect, Action::load).left() - 8);
    paintHeadline(painter, line, option, index);

    line.translate(0, height + 3);
    painter.setPen(theme.secondaryText);
    painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft,
                     option.fontMetrics.elidedText(groupDetails(model_.group(index)), Qt::ElideRight, line.width()));
    if (isUnfolded(option)) {
        line.translate(0, height + 3);
        painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("ISO Files:"));
    }
    paintActions(painter, option, index);
}

// The name, and behind it how far the group can be trusted and what became of it in the last run.
void GroupCardView::paintHeadline(QPainter& painter, const QRect& line, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    const Theme& theme = themeOf(option.palette);
    const Badge confidence = badgeOf(model_.group(index));
    const GroupJoinResult* result = model_.result(index);
    const int confidenceWidth = option.fontMetrics.horizontalAdvance(confidence.word) + 20;
    const QString outcome = result ? resultText(result->outcome) : QString();
    const int outcomeWidth = result ? option.fontMetrics.horizontalAdvance(outcome) + 38 : 0;
    QFont bold = option.font;
    bold.setWeight(QFont::DemiBold);
    const QFontMetrics metrics(bold);
    const int room = std::max(40, line.width() - confidenceWidth - outcomeWidth - 18);
    const QString name = metrics.elidedText(model_.outputName(index), Qt::ElideMiddle, room);
    painter.setFont(bold);
    painter.setPen(theme.text);
    painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft, name);
    painter.setFont(option.font);
    QRect rest = line;
    rest.setLeft(line.left() + metrics.horizontalAdvance(name) + 18);
    rest.setLeft(rest.left() + paintBadge(painter, rest, confidence, theme) + 18);
    if (result)
        paintBadge(painter, rest, {result->outcome.status.icon(), outcome, result->outcome.status.statusColor()},
                   theme);
}

void GroupCardView::paintActions(QPainter& painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    const Theme& theme = themeOf(option.palette);
    const bool isLoaded = viewModel_.previewedGroupID.value() == model_.group(index).id;
    for (const Action action : kActions) {
        const bool isOff = action == Action::remove && viewModel_.isBatchJoining.value();
        const QRect rect = actionRect(option.rect, action);
        const bool isMarked = isLoaded && action == Action::load;
        if (isMarked) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.badgeFill(theme.accentText));
            painter.drawRoundedRect(rect, 5, 5);
        }
        const int margin = (rect.width() - kSymbol) / 2;
        paintSymbol(painter, symbolOf(action), rect.adjusted(margin, margin, -margin, -margin),
                    isOff      ? theme.disabledText
                    : isMarked ? theme.accentText
                               : theme.secondaryText);
    }
}

void GroupCardView::paintIso(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const Theme& theme = themeOf(option.palette);
    const ISOFile& iso = model_.iso(index);
    const bool isHeard = model_.isHeard(index);
    if (option.state.testFlag(QStyle::State_Selected)) painter.fillRect(option.rect, theme.selection);
    const QRect row = option.rect.adjusted(kChevron, 0, -12, 0);
    painter.setPen(theme.secondaryText);
    painter.drawText(QRect(row.left(), row.top(), 24, row.height()), Qt::AlignVCenter | Qt::AlignRight,
                     QString::number(index.row() + 1));
    if (isHeard)
        paintSymbol(painter, QStringLiteral("speaker"), QRectF(row.left() + 30, row.center().y() - 7, 15, 15),
                    theme.accentText);
    const QString facts =
        QStringList{sampleRateText(iso.sampleRate), bitDepthText(iso.bitDepth), clockText(iso.duration)}.join(
            QStringLiteral("   "));
    const int factsWidth = option.fontMetrics.horizontalAdvance(facts);
    painter.drawText(row, Qt::AlignVCenter | Qt::AlignRight, facts);
    QRect name = row.adjusted(52, 0, -factsWidth - 16, 0);
    const QString shown = option.fontMetrics.elidedText(iso.fileName, Qt::ElideMiddle, name.width());
    painter.drawText(name.adjusted(option.fontMetrics.horizontalAdvance(shown) + 16, 0, 0, 0),
                     Qt::AlignVCenter | Qt::AlignLeft, iso.metadataTrackName);
    painter.setPen(isHeard ? theme.accentText : theme.text);
    painter.drawText(name, Qt::AlignVCenter | Qt::AlignLeft, shown);
}

QRect GroupCardView::actionRect(const QRect& row, Action action) {
    const QRect card = cardOf(row);
    const int fromRight = static_cast<int>(kActions.size()) - static_cast<int>(action);
    return {card.right() - 4 - fromRight * kStep, card.top() + kPadding - 2, 26, 26};
}

std::optional<GroupCardView::Action> GroupCardView::actionAt(const QRect& row, const QPoint& point) const {
    for (const Action action : kActions) {
        if (actionRect(row, action).contains(point)) return action;
    }
    return std::nullopt;
}

bool GroupCardView::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                              const QModelIndex& index) {
    if (event->type() == QEvent::ToolTip && model_.isGroup(index)) {
        if (const auto action = actionAt(option.rect, event->pos())) {
            QToolTip::showText(event->globalPos(), helpOf(*action), view);
            return true;
        }
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

void GroupCardView::perform(Action action, const QModelIndex& group) {
    switch (action) {
    case Action::load: return viewModel_.preview().join().loadGroupForPreview(model_.group(group));
    case Action::play: return viewModel_.preview().join().playGroup(model_.group(group));
    case Action::remove:
        if (onDelete && !viewModel_.isBatchJoining.value()) onDelete(group);
    }
}

} // namespace ostrel
