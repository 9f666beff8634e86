// Keeps the sections of Edit Poly and the controller's settings the same, in both directions.
#pragma once

#include "app/controls/bindings.h"
#include "app/poly/edit/channel_edits.h"
#include "polytools/poly_tools_view_model.h"

#include <QObject>

namespace ostrel {

class PublishedEdits : public QObject, public ChannelEdits {
    Q_OBJECT

public:
    explicit PublishedEdits(PolyToolsViewModel& viewModel, QObject* parent = nullptr);

private:
    void publish();
    void take(const std::function<void()>& taking);
    void followPolys(int first);
    void fitOrder();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    bool isBound_ = false; // all settings have been taken once
    bool isTaking_ = false;
    bool isPublishing_ = false;
    int widest_ = 0; // channels of the widest poly so far
};

} // namespace ostrel
