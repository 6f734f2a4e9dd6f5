// The tree control's geometry (rows, labels, columns, check boxes) and painting.
#include <velwidgets/TreeControl.h>

#include "TreeGraveyard.h"
#include "TreeRows.h"

#include <wx/dcbuffer.h>
#include <wx/renderer.h>

#include <algorithm>

namespace wxUtils {

namespace {
const int SwatchSize = 12;
const int Gap = 3;
}  // namespace

// ---------------------------------------------------------------------------------------------
// Geometry

wxPoint TreeControl::logicalToClient(const wxPoint& logical) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    return wxPoint(logical.x - m_xOffset, logical.y - int(m_topRow) * m_rowHeight + headerHeight());
}

wxPoint TreeControl::clientToLogical(const wxPoint& client) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    return wxPoint(client.x + m_xOffset, client.y + int(m_topRow) * m_rowHeight - headerHeight());
}

TreeItem* TreeControl::HitTest(const wxPoint& client) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    const int y = client.y - headerHeight();
    if (y < 0 || client.y >= GetClientSize().y) return nullptr;
    return m_rows->at(m_topRow + size_t(y / m_rowHeight));
}

wxRect TreeControl::GetItemRect(const TreeItem* item) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    const long row = GetRowOf(item);
    if (row < 0) return wxRect();
    return wxRect(0, headerHeight() + int(row - long(m_topRow)) * m_rowHeight, GetClientSize().x, m_rowHeight);
}

wxRect TreeControl::GetLabelRect(const TreeItem* item) const {
    wxRect row = GetItemRect(item);
    if (row.IsEmpty()) return row;
    const int left = labelLeft(item) - m_xOffset;
    const int right = m_columns.size() > 1 ? m_columns[0].width - m_xOffset : row.GetRight();
    return wxRect(left, row.y, std::max(40, right - left), row.height);
}

int TreeControl::labelLeft(const TreeItem* item) const {
    int x = 2 + item->GetDepth() * (ExpanderWidth + m_indent) + ExpanderWidth;
    if (item->GetCheckState(0) != 0) x += CheckBoxSize + Gap;
    auto* self = const_cast<TreeControl*>(this);
    auto* mutableItem = const_cast<TreeItem*>(item);
    if (self->getItemIcon(mutableItem, Normal)) x += IconSize + Gap;
    if (item->HasSwatch()) x += SwatchSize + Gap;
    return x;
}

int TreeControl::GetColumnWidth(int column) const {
    if (column < 0 || column >= GetColumnCount()) return 0;
    return m_columns[size_t(column)].width < 0 ? GetClientSize().x : m_columns[size_t(column)].width;
}

int TreeControl::AddColumn(const wxString& title, int width) {
    if (m_columns.size() == 1 && m_columns[0].width < 0) m_columns[0].width = 200;
    m_columns.push_back({title, std::max(10, width)});
    updateScrollbars();
    Refresh();
    return int(m_columns.size()) - 1;
}

int TreeControl::hitColumn(int logicalX) const {
    if (m_columns.size() == 1) return 0;
    int x = 0;
    for (size_t c = 0; c < m_columns.size(); ++c) {
        x += m_columns[c].width;
        if (logicalX < x) return int(c);
    }
    return -1;
}

int TreeControl::checkBoxHit(const TreeItem* item, int logicalX) const {
    const int column = hitColumn(logicalX);
    if (column < 0 || item->GetCheckState(column) == 0) return -1;
    int left;
    if (column == 0) {
        left = 2 + item->GetDepth() * (ExpanderWidth + m_indent) + ExpanderWidth;
    } else {
        left = 2;
        for (int c = 0; c < column; ++c) left += m_columns[size_t(c)].width;
    }
    return logicalX >= left && logicalX < left + CheckBoxSize ? column : -1;
}

void TreeControl::setItemIndent(int indent) {
    m_indent = std::max(0, indent);
    Refresh();
}

// ---------------------------------------------------------------------------------------------
// Painting

void TreeControl::onPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    RenderTo(dc, GetClientSize());
}

void TreeControl::RenderTo(wxDC& dc, const wxSize& size) {
    m_repaintRequested = false;
    resolvePendingVisible(false);
    dc.SetBackground(wxBrush(m_scheme.windowBackground));
    dc.Clear();
    dc.SetFont(GetFont());
    m_paintCharHeight = dc.GetCharHeight();  // one font query per paint, not per row
    const int widest = m_widest;
    const size_t count = m_rows->size();
    int y = headerHeight();
    for (size_t row = m_topRow; row < count && y < size.y; ++row, y += m_rowHeight)
        drawRow(dc, m_rows->at(row), wxRect(0, y, size.x, m_rowHeight));
    if (headerHeight() > 0) drawHeader(dc, size.x);
    drawDropIndicator(dc);
    if (m_widest != widest && HasFlag(wxHSCROLL) && GetHandle())
        CallAfter([this] { updateScrollbars(); });  // scroll bars are not changed while drawing
}

void TreeControl::drawDropIndicator(wxDC& dc) {
    // Onto: a frame around the target's label; above or below: a line at that edge of the label.
    if (!m_drag.isDragging() || !m_drag.isAllowed() || !m_drag.target()) return;
    const wxRect label = GetLabelRect(m_drag.target());
    if (label.IsEmpty()) return;
    dc.SetPen(wxPen(m_scheme.selectionBackground, 2));
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    switch (m_drag.place()) {
    case TreeDropPlace::Onto: dc.DrawRectangle(label); break;
    case TreeDropPlace::Above: dc.DrawLine(label.GetLeft(), label.GetTop(), label.GetRight() + 40, label.GetTop()); break;
    case TreeDropPlace::Below:
        dc.DrawLine(label.GetLeft(), label.GetBottom(), label.GetRight() + 40, label.GetBottom());
        break;
    }
}

void TreeControl::drawHeader(wxDC& dc, int width) {
    dc.SetPen(wxPen(m_scheme.gridLine));
    dc.SetBrush(wxBrush(m_scheme.titleBackground));
    dc.DrawRectangle(0, 0, width, m_rowHeight);
    dc.SetTextForeground(m_scheme.text);
    int x = -m_xOffset;
    for (const Column& column : m_columns) {
        dc.DrawText(column.title, x + 4, (m_rowHeight - dc.GetCharHeight()) / 2);
        x += column.width;
        dc.DrawLine(x - 1, 0, x - 1, m_rowHeight);
    }
}

static void drawCheckBox(wxDC& dc, const wxRect& box, int state, const ColourScheme& scheme) {
    dc.SetPen(wxPen(scheme.text));
    dc.SetBrush(wxBrush(scheme.windowBackground));
    dc.DrawRectangle(box);
    if (state < 2) return;
    // On: a tick; on but overridden: the tick in the dimmed colour over a grey box.
    if (state == 3) {
        dc.SetBrush(wxBrush(scheme.gridLine));
        dc.DrawRectangle(wxRect(box).Deflate(2));
    }
    dc.SetPen(wxPen(state == 3 ? scheme.dimmedText : scheme.text, 2));
    const wxPoint tick[] = {{box.x + 3, box.y + box.height / 2}, {box.x + box.width / 2 - 1, box.GetBottom() - 3},
                            {box.GetRight() - 2, box.y + 3}};
    dc.DrawLines(3, tick);
}

void TreeControl::drawRow(wxDC& dc, TreeItem* item, const wxRect& row) {
    preDrawItem(item, dc, row);
    const int depthX = 2 + item->GetDepth() * (ExpanderWidth + m_indent) - m_xOffset;
    const int midY = row.y + row.height / 2;
    if (item->IsSeparator()) {
        dc.SetPen(wxPen(m_scheme.dimmedText));
        dc.DrawLine(depthX, midY, row.GetRight() - 4, midY);
        postDrawItem(item, dc, row);
        return;
    }
    const int column0 = m_columns.size() > 1 ? m_columns[0].width - m_xOffset : row.GetRight();
    const TreeItemState state = TreeItemState((item->IsSelected() ? Selected : Normal) |
                                              (item->IsExpanded() && item->HasChildren() ? Expanded : Normal));
    const wxBitmap* icon = getItemIcon(item, state);
    int x = depthX + ExpanderWidth;
    const int checkX = x;
    if (item->GetCheckState(0) != 0) x += CheckBoxSize + Gap;
    const int iconX = x;
    if (icon) x += IconSize + Gap;
    const int swatchX = x;
    if (item->HasSwatch()) x += SwatchSize + Gap;
    if (item->m_labelWidth < 0 || item->m_labelFont != m_fontGeneration) {
        item->m_labelWidth = dc.GetTextExtent(item->GetLabel()).x;  // measured once per label and font
        item->m_labelFont = m_fontGeneration;
    }
    const wxSize text(item->m_labelWidth, m_paintCharHeight);
    const int labelRight = x + text.x + 4;
    m_widest = std::max(m_widest, labelRight + m_xOffset);

    if (item->IsSelected()) {
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxBrush(m_scheme.selectionBackground));
        if (HasFlag(FullRowHighlight)) dc.DrawRectangle(row);
        else dc.DrawRectangle(x - 2, row.y, std::min(labelRight, column0) - x + 2, row.height);
    }
    if (item == m_focus) {
        dc.SetPen(wxPen(m_scheme.focusOutline, 1, HasFocus() ? wxPENSTYLE_SOLID : wxPENSTYLE_DOT));
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.DrawRectangle(HasFlag(FullRowHighlight) ? row : wxRect(x - 2, row.y, labelRight - x + 2, row.height));
    }
    if (item->HasChildren()) {
        // A small triangle: pointing right when collapsed, down when expanded.
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(item->IsSelected() && HasFlag(FullRowHighlight) ? m_selectedExpanderBrush : m_expanderBrush);
        const int cx = depthX + ExpanderWidth / 2 - 1;
        if (item->IsExpanded()) {
            const wxPoint down[] = {{cx - 4, midY - 2}, {cx + 4, midY - 2}, {cx, midY + 2}};
            dc.DrawPolygon(3, down);
        } else {
            const wxPoint right[] = {{cx - 2, midY - 4}, {cx + 2, midY}, {cx - 2, midY + 4}};
            dc.DrawPolygon(3, right);
        }
    }
    if (item->GetCheckState(0) != 0)
        drawCheckBox(dc, wxRect(checkX, midY - CheckBoxSize / 2, CheckBoxSize, CheckBoxSize), item->GetCheckState(0), m_scheme);
    if (icon && icon->IsOk()) dc.DrawBitmap(*icon, iconX, midY - IconSize / 2, true);
    if (item->HasSwatch()) {
        dc.SetPen(wxPen(m_scheme.text));
        dc.SetBrush(wxBrush(item->GetSwatch()));
        dc.DrawRectangle(swatchX, midY - SwatchSize / 2, SwatchSize, SwatchSize);
    }
    dc.SetTextForeground(item->IsSelected() ? m_scheme.selectionText : m_scheme.text);
    if (m_columns.size() > 1) dc.SetClippingRegion(0, row.y, std::max(0, column0 - 2), row.height);
    dc.DrawText(item->GetLabel(), x, midY - text.y / 2);
    if (m_columns.size() > 1) {
        dc.DestroyClippingRegion();
        int left = column0;
        for (size_t c = 1; c < m_columns.size(); ++c) {
            int cx = left + 2;
            const int check = item->GetCheckState(int(c));
            if (check != 0) {
                drawCheckBox(dc, wxRect(cx, midY - CheckBoxSize / 2, CheckBoxSize, CheckBoxSize), check, m_scheme);
                cx += CheckBoxSize + Gap;
            }
            dc.SetTextForeground(m_scheme.text);
            dc.SetClippingRegion(left, row.y, m_columns[c].width - 2, row.height);
            dc.DrawText(item->GetColumnText(int(c)), cx, midY - text.y / 2);
            dc.DestroyClippingRegion();
            left += m_columns[c].width;
        }
    }
    const bool upper = hasUpperSeparator(item), lower = hasLowerSeparator(item);
    if (upper || lower) dc.SetPen(wxPen(m_scheme.gridLine));
    if (upper) dc.DrawLine(depthX, row.y, row.GetRight(), row.y);
    if (lower) dc.DrawLine(depthX, row.GetBottom(), row.GetRight(), row.GetBottom());
    postDrawItem(item, dc, row);
}

bool TreeControl::SetFont(const wxFont& font) {
    ++m_fontGeneration;  // every cached label width is stale
    const bool changed = wxWindow::SetFont(font);
    if (GetHandle()) m_rowHeight = std::max(IconSize + 2, GetCharHeight() + 4);
    Refresh();
    return changed;
}

void TreeControl::onColourSchemeChanged(const ColourScheme& scheme) {
    m_scheme = scheme;
    m_expanderBrush = wxBrush(scheme.dimmedText);  // made once per scheme, not once per row
    m_selectedExpanderBrush = wxBrush(scheme.selectionText);
    if (GetHandle()) SetBackgroundColour(scheme.windowBackground);
    Refresh();
}

void TreeControl::onFocus(wxFocusEvent& event) {
    Refresh();
    event.Skip();
}

}  // namespace wxUtils
