#pragma once

#include <velxcore/XObjectGroupPolicy.h>

namespace VelX {

// Selection groups are named selections: any scene object may join, in as many groups as wished.
class XSelectionGroupPolicy : public XObjectGroupPolicy {
public:
    const std::wstring& GroupTypeID() const override;
};

}  // namespace VelX
