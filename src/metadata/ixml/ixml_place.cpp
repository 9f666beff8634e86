#include "metadata/ixml/ixml_place.h"

#include "metadata/ixml/ixml_text.h"

namespace ostrel {
namespace {

QString elementOf(QStringView tag, const QString& text) { return QStringLiteral("<%1>%2</%1>").arg(tag, text); }

// An empty group that some recorders write in one tag.
void openEmptyTag(QString& xml, QStringView tag) {
    const QString empty = QStringLiteral("<%1/>").arg(tag);
    if (const qsizetype at = xml.indexOf(empty); at >= 0) xml.replace(at, empty.size(), elementOf(tag, QString()));
}

// Behind the identity, where recorders have their groups; otherwise at the end of the document.
qsizetype placeForGroup(const QString& xml) {
    for (const QStringView tag : {QStringView(u"FILE_UID"), QStringView(u"IXML_VERSION")}) {
        if (const auto element = elementOnOneLine(xml, tag)) return element->end;
    }
    return xml.lastIndexOf(QStringLiteral("</BWFXML>"));
}

} // namespace

void setInGroup(QString& xml, QStringView group, QStringView tag, const QString& text) {
    openEmptyTag(xml, group);
    if (!elementAcrossLines(xml, group)) {
        const qsizetype at = placeForGroup(xml);
        if (at < 0) return;
        xml.insert(at, QStringLiteral("\n\t<%1>\n\t</%1>").arg(group));
    }
    const IxmlElement place = *elementAcrossLines(xml, group);
    QString inner = place.innerText(xml);
    openEmptyTag(inner, tag);
    if (const auto old = elementAcrossLines(inner, tag)) {
        inner.replace(old->start, old->end - old->start, elementOf(tag, text));
    } else {
        inner.insert(0, QStringLiteral("\n\t\t") + elementOf(tag, text));
    }
    xml.replace(place.innerStart, place.innerEnd - place.innerStart, inner);
}

QString placedIxml(QString xml, const IxmlPlace& place) {
    if (place.total > 0) {
        setInGroup(xml, u"FILE_SET", u"FILE_SET_INDEX", place.index());
        setInGroup(xml, u"FILE_SET", u"TOTAL_FILES", QString::number(place.total));
    }
    if (!place.parentName.isEmpty()) {
        setInGroup(xml, u"HISTORY", u"PARENT_FILENAME", encodeXMLText(place.parentName));
    }
    if (!place.fileName.isEmpty() && elementAcrossLines(xml, u"CURRENT_FILENAME")) {
        setInGroup(xml, u"HISTORY", u"CURRENT_FILENAME", encodeXMLText(place.fileName));
    }
    return xml;
}

} // namespace ostrel
