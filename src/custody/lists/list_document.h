// A document of a hash list or a chain, as a stream of elements, of which nothing is believed: no document types, so no
// entities that grow; no deep nesting; no text where elements belong. Faults are HashListErrors.
#pragma once

#include "custody/lists/hash_list_text.h"

#include <QByteArray>
#include <QXmlStreamReader>
#include <functional>

namespace ostrel {

class ListDocument {
public:
    // UTF-8, or UTF-16 and UTF-32 with and without a mark at the beginning.
    explicit ListDocument(const QByteArray& bytes);

    // Goes to the root element, whose name must be this one.
    void enterRoot(const QString& name);

    // Calls `take` for each child of the element that was entered; a child that it doesn't read is passed over.
    void forEachChild(const std::function<void()>& take);

    // Of the element that was entered.
    QString name() const { return xml_.name().toString(); }
    QString namespaceUri() const { return xml_.namespaceUri().toString(); }
    QXmlStreamAttributes attributes() const { return xml_.attributes(); }
    QString attribute(const char* name) const { return xml_.attributes().value(QLatin1String(name)).toString(); }
    QXmlStreamReader& xml() { return xml_; }
    int depth() const { return depth_; }

    // The text of an element without children; the element is left.
    QString text();
    void skip();
    // After the root: nothing else follows.
    void requireEnd();

    [[noreturn]] void fail(const QString& what) const;

private:
    enum class Token { start, end, documentEnd };
    Token next();

    QXmlStreamReader xml_;
    int depth_ = 0; // of the element that was entered last and not left yet
};

} // namespace ostrel
