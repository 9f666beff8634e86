// What assistive technology is told of switches, segments and badges. Qt's own answer to "toggle" turns the mark and
// clicks nothing, so that a switch would show what is not set; here it clicks. Segments of a control are radio buttons.
#pragma once

namespace ostrel {

// For every checkable button that is made from now on.
void installButtonAccess();

} // namespace ostrel
