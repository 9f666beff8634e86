// Edit Poly in the window, over real polys: what one does with hands, and what became of the files.
#pragma once

#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/panels/run_row.h"
#include "app/poly/edit/channel_names_table.h"
#include "app/poly/edit/channel_order_table.h"
#include "app/poly/edit/channel_rename_section.h"
#include "app/poly/edit/channel_reorder_section.h"
#include "app/poly/edit/poly_edit_view.h"
#include "support/wave_file.h"

#include <QLineEdit>
#include <QXmlStreamReader>
#include <gtest/gtest.h>
#include <map>

namespace ostrel::testing {

class PolyEditTest : public WindowTest {
protected:
    // The names of a file's tracks in the order of their channels, by an XML parser of our own.
    static QStringList trackNames(const QString& file) {
        QByteArray ixml = chunkOf(readAll(file), "iXML");
        if (const auto end = ixml.indexOf('\0'); end >= 0) ixml.truncate(end);
        QXmlStreamReader xml(ixml);
        std::map<int, QString> names;
        int index = 0;
        QString name;
        while (!xml.atEnd()) {
            const auto token = xml.readNext();
            if (token == QXmlStreamReader::EndElement && xml.name() == u"TRACK") names[index] = name;
            if (token != QXmlStreamReader::StartElement) continue;
            if (xml.name() == u"INTERLEAVE_INDEX") index = xml.readElementText().toInt();
            if (xml.name() == u"NAME") name = xml.readElementText();
        }
        EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
        QStringList result;
        for (const auto& [number, text] : names) result << text;
        return result;
    }

    // The source channels, from 1, that the channels of an output carry to the sample.
    static std::vector<int> channelsOf(const QString& output, const QString& source) {
        const Samples original = decodedByFfmpeg(source);
        std::vector<int> order;
        for (const auto& samples : decodedByFfmpeg(output)) {
            const auto found = std::find(original.begin(), original.end(), samples);
            order.push_back(found == original.end() ? 0 : static_cast<int>(found - original.begin()) + 1);
        }
        return order;
    }

    PolyEditView& view() { return polyToolsView_->editView(); }
    QString out(const char* name = "") { return folder_.path() + QStringLiteral("/out/") + QString::fromLatin1(name); }

    void open() {
        show(AppTab::polyTools);
        press(Qt::Key_Slash);
        ASSERT_EQ(polyTools_.mode.value(), PolyMode::editPoly);
        polys_ = samples() + QStringLiteral("/polys");
    }
    QString poly(const char* name) const { return polys_ + u'/' + QString::fromLatin1(name); }

    void load(const QStringList& paths) {
        drop(paths);
        ASSERT_TRUE(waitForPolyTools());
        ASSERT_FALSE(polyTools_.batchPolyMetadata.empty());
    }
    void chooseOutput() {
        QDir().mkpath(out());
        desktop_.openPanelAnswer = {folder_.path() + QStringLiteral("/out")};
        clickIn(view(), QStringLiteral("Output Folder: Select Output Folder..."));
        ASSERT_EQ(polyTools_.splitOutputFolder.value(), desktop_.openPanelAnswer.first());
    }
    static void clickIn(const QWidget& root, const QString& name) {
        settle();
        auto* button = find<QAbstractButton>(root, name);
        ASSERT_NE(button, nullptr);
        ASSERT_TRUE(button->isVisible()) << name.toStdString();
        ASSERT_TRUE(button->isEnabled()) << name.toStdString();
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(9, button->height() / 2));
        settle();
    }
    void clickEdit(const char* name) { clickIn(view(), QString::fromUtf8(name)); }
    static void typeInto(const QWidget& root, const char* field, const char* text) {
        auto* edit = find<QLineEdit>(root, QString::fromLatin1(field));
        ASSERT_TRUE(edit->isVisible() && edit->isEnabled()) << field;
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, QString::fromUtf8(text));
        settle();
    }
    // Types new names into the fields, from the first on, and leaves the last.
    static void typeNames(QTableView& table, const QStringList& names) {
        const QModelIndex first = table.model()->index(0, 2);
        table.scrollTo(first);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, table.visualRect(first).center());
        for (const QString& name : names) {
            auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
            ASSERT_NE(editor, nullptr) << "no field is open";
            EXPECT_EQ(editor->placeholderText(), QStringLiteral("Original name"));
            QTest::keyClicks(editor, name);
            QTest::keyClick(editor, Qt::Key_Return);
            settle();
        }
        if (auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget()))
            QTest::keyClick(editor, Qt::Key_Escape);
        settle();
    }
    void run() {
        clickEdit("Apply Edits");
        ASSERT_TRUE(waitForPolyTools());
    }
    bool canRun() {
        settle();
        return view().runRow().runButton().isEnabled();
    }
    static bool says(const QWidget& root, const QString& text) {
        for (const QLabel* label : root.findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == text) return true;
        }
        for (const auto* line : root.findChildren<TruncatingText*>()) {
            if (line->isVisible() && line->text() == text) return true;
        }
        return false;
    }
    bool says(const char* text) {
        settle();
        return says(view(), QString::fromUtf8(text));
    }

    QString polys_;
};

} // namespace ostrel::testing
