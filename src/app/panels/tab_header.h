// The top line of a tab.
#pragma once

#include <QString>
#include <initializer_list>

class QWidget;

namespace ostrel {

// The title with what stands beside it, and at the right end what tells of the tools and the appearance.
QWidget* tabHeader(const QString& title, std::initializer_list<QWidget*> beside,
                   std::initializer_list<QWidget*> atTheEnd);

} // namespace ostrel
