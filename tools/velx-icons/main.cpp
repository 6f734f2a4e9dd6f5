// Draws the 16 by 16 item icons of the tree panels and writes them as PNG files into the folder
// given on the command line (the build puts them in <build>/resources/Images). Every icon is a
// mid-tone fill with a darker outline of the same hue: legible on the light window background and
// on the dark one alike.
#include <wx/brush.h>
#include <wx/dir.h>
#include <wx/filename.h>
#include <wx/graphics.h>
#include <wx/image.h>
#include <wx/pen.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace {

struct Paint {
    wxColour fill;
    wxColour outline;
};

Paint tone(unsigned char r, unsigned char g, unsigned char b) {
    return {wxColour(r, g, b), wxColour(r * 45 / 100, g * 45 / 100, b * 45 / 100)};
}

const Paint Blue = tone(80, 140, 220), Green = tone(80, 180, 90), Orange = tone(235, 150, 50),
            Red = tone(220, 80, 70), Purple = tone(160, 110, 220), Teal = tone(60, 180, 180),
            Yellow = tone(230, 190, 60), Grey = tone(160, 165, 175);

using Draw = std::function<void(wxGraphicsContext&)>;

void use(wxGraphicsContext& gc, const Paint& paint, double width = 1.0) {
    gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(paint.outline).Width(width)));
    gc.SetBrush(wxBrush(paint.fill));
}

void circle(wxGraphicsContext& gc, double cx, double cy, double r) { gc.DrawEllipse(cx - r, cy - r, 2 * r, 2 * r); }

void polygon(wxGraphicsContext& gc, std::initializer_list<wxPoint2DDouble> points) {
    wxGraphicsPath path = gc.CreatePath();
    bool first = true;
    for (const wxPoint2DDouble& p : points) {
        if (first) path.MoveToPoint(p);
        else path.AddLineToPoint(p);
        first = false;
    }
    path.CloseSubpath();
    gc.DrawPath(path);
}

void line(wxGraphicsContext& gc, const wxColour& colour, double width, double x0, double y0, double x1, double y1) {
    gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(colour).Width(width).Cap(wxCAP_ROUND)));
    gc.StrokeLine(x0, y0, x1, y1);
}

// A figure: head and body. Characters of each kind differ by colour and a mark.
void person(wxGraphicsContext& gc, const Paint& paint) {
    use(gc, paint);
    circle(gc, 8, 4, 3);
    gc.DrawRoundedRectangle(3.5, 8.5, 9, 7, 2.5);
}

void jointBall(wxGraphicsContext& gc, const Paint& paint) {
    line(gc, paint.outline, 3, 3, 13, 8, 8);
    use(gc, paint);
    circle(gc, 9, 7, 4.5);
    gc.SetBrush(wxBrush(paint.outline));
    circle(gc, 9, 7, 1.3);
}

void limitWedge(wxGraphicsContext& gc, const Paint& paint) {
    use(gc, paint);
    wxGraphicsPath path = gc.CreatePath();
    path.MoveToPoint(3, 13);
    path.AddArc(3, 13, 11, -M_PI / 2 + 0.15, -0.15, true);
    path.CloseSubpath();
    gc.DrawPath(path);
    gc.SetBrush(wxBrush(paint.outline));
    circle(gc, 3.5, 12.5, 1.8);
}

void folder(wxGraphicsContext& gc, bool open) {
    use(gc, Yellow);
    polygon(gc, {{1.5, 3.5}, {6.5, 3.5}, {8, 5.5}, {14.5, 5.5}, {14.5, 13.5}, {1.5, 13.5}});
    if (open) polygon(gc, {{3.5, 8}, {15.5, 8}, {13.5, 13.5}, {1.5, 13.5}});
}

struct Icon {
    const char* name;
    Draw draw;
};

const std::vector<Icon>& icons() {
    static const std::vector<Icon> all = {
        {"ExplorerCamera16.png", [](wxGraphicsContext& gc) {
             use(gc, Blue);
             gc.DrawRoundedRectangle(1.5, 4.5, 9, 8, 1.5);
             polygon(gc, {{10.5, 8.5}, {15, 5}, {15, 12}});
             gc.SetBrush(wxBrush(Blue.outline));
             circle(gc, 6, 8.5, 1.8);
         }},
        {"ExplorerCharacter16.png", [](wxGraphicsContext& gc) { person(gc, Green); }},
        {"ExplorerKinematicsCharacter16.png", [](wxGraphicsContext& gc) {
             person(gc, Orange);
             line(gc, Orange.outline, 1.5, 5.5, 11.5, 10.5, 11.5);
         }},
        {"ExplorerPhysicsCharacter16.png", [](wxGraphicsContext& gc) {
             person(gc, Red);
             line(gc, Red.outline, 1.5, 8, 9.5, 8, 14);
             line(gc, Red.outline, 1.5, 5.5, 11.75, 10.5, 11.75);
         }},
        {"ExplorerIKHandle16.png", [](wxGraphicsContext& gc) {
             line(gc, Yellow.outline, 3.5, 3, 13, 11, 5);
             line(gc, Yellow.fill, 1.5, 3, 13, 11, 5);
             use(gc, Yellow);
             circle(gc, 11.5, 4.5, 3);
         }},
        {"ExplorerJoint16.png", [](wxGraphicsContext& gc) { jointBall(gc, Teal); }},
        {"ExplorerJointLimit16.png", [](wxGraphicsContext& gc) { limitWedge(gc, Teal); }},
        {"ExplorerPhysicsJoint16.png", [](wxGraphicsContext& gc) { jointBall(gc, Red); }},
        {"ExplorerPhysicsJointLimit16.png", [](wxGraphicsContext& gc) { limitWedge(gc, Red); }},
        {"ExplorerPhysicsConstraint16.png", [](wxGraphicsContext& gc) {
             gc.SetBrush(*wxTRANSPARENT_BRUSH);
             for (double width : {4.0, 2.0}) {
                 gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(width > 3 ? Red.outline : Red.fill).Width(width)));
                 gc.DrawRoundedRectangle(1.5, 5, 8, 6, 3);
                 gc.DrawRoundedRectangle(6.5, 5, 8, 6, 3);
             }
         }},
        {"ExplorerMeshInstance16.png", [](wxGraphicsContext& gc) {
             use(gc, Purple);
             polygon(gc, {{8, 1.5}, {14.5, 13.5}, {1.5, 13.5}});
             line(gc, Purple.outline, 1, 8, 1.5, 8, 13.5);
             line(gc, Purple.outline, 1, 4.75, 7.5, 14.5, 13.5);
         }},
        {"ExplorerPrimitive16.png", [](wxGraphicsContext& gc) {
             use(gc, Purple);
             polygon(gc, {{8, 1.5}, {14, 4.5}, {14, 11.5}, {8, 14.5}, {2, 11.5}, {2, 4.5}});
             line(gc, Purple.outline, 1, 2, 4.5, 8, 7.5);
             line(gc, Purple.outline, 1, 14, 4.5, 8, 7.5);
             line(gc, Purple.outline, 1, 8, 7.5, 8, 14.5);
         }},
        {"ExplorerScene16.png", [](wxGraphicsContext& gc) {
             use(gc, Blue);
             circle(gc, 8, 8, 6.5);
             gc.SetBrush(*wxTRANSPARENT_BRUSH);
             gc.DrawEllipse(5, 1.5, 6, 13);
             line(gc, Blue.outline, 1, 1.5, 8, 14.5, 8);
         }},
        {"ExplorerShape16.png", [](wxGraphicsContext& gc) {
             use(gc, Grey);
             polygon(gc, {{8, 1.5}, {14.5, 8}, {8, 14.5}, {1.5, 8}});
         }},
        {"ExplorerTransform16.png", [](wxGraphicsContext& gc) {
             line(gc, Red.outline, 2, 3, 13, 13, 13);
             line(gc, Green.outline, 2, 3, 13, 3, 3);
             line(gc, Blue.outline, 2, 3, 13, 10, 6);
             use(gc, Red);
             polygon(gc, {{15, 13}, {11, 10.5}, {11, 15.5}});
             use(gc, Green);
             polygon(gc, {{3, 1}, {0.5, 5}, {5.5, 5}});
             use(gc, Blue);
             circle(gc, 10.5, 5.5, 2);
         }},
        {"GroupItem16.png", [](wxGraphicsContext& gc) {
             use(gc, Teal);
             circle(gc, 5, 5, 3);
             circle(gc, 11, 5, 3);
             circle(gc, 8, 11, 3);
         }},
        {"GroupFolderExpanded16.png", [](wxGraphicsContext& gc) { folder(gc, true); }},
        {"GroupFolderCollapsed16.png", [](wxGraphicsContext& gc) { folder(gc, false); }},
    };
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: velx-icons OUTPUT_FOLDER\n");
        return 2;
    }
    const wxString folder = wxString::FromUTF8(argv[1]);
    if (!wxFileName::DirExists(folder) && !wxFileName::Mkdir(folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL)) {
        std::fprintf(stderr, "velx-icons: cannot create folder %s\n", argv[1]);
        return 1;
    }
    wxImage::AddHandler(new wxPNGHandler);
    for (const Icon& icon : icons()) {
        wxImage image(16, 16);
        image.InitAlpha();
        std::memset(image.GetAlpha(), 0, 16 * 16);
        {
            std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(image));
            if (!gc) {
                std::fprintf(stderr, "velx-icons: no drawing context\n");
                return 1;
            }
            gc->SetAntialiasMode(wxANTIALIAS_DEFAULT);
            icon.draw(*gc);
        }  // the image receives the drawing when the context goes
        const wxString path = wxFileName(folder, icon.name).GetFullPath();
        if (!image.SaveFile(path, wxBITMAP_TYPE_PNG)) {
            std::fprintf(stderr, "velx-icons: cannot write %s\n", static_cast<const char*>(path.utf8_str()));
            return 1;
        }
    }
    return 0;
}
