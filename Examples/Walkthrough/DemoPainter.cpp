#include "Examples/Walkthrough/DemoPainter.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "Examples/Walkthrough/Drawing.h"

namespace tavrin::demo {

namespace {

constexpr std::uint32_t ink = 0x1c2024;
constexpr std::uint32_t softInk = 0x60646c;
constexpr std::uint32_t faintInk = 0x8b8d98;
constexpr std::uint32_t line = 0xe4e5ea;
constexpr std::uint32_t paper = 0xffffff;
constexpr std::uint32_t panel = 0xf7f8fb;
constexpr std::uint32_t indigo = 0x5b5bd6;
constexpr std::uint32_t indigoDark = 0x4a4ac0;
constexpr std::uint32_t indigoLight = 0x6e6ade;
constexpr std::uint32_t indigoTint = 0xeeeefc;
constexpr std::uint32_t green = 0x30a46c;

void glow(cairo_t* cr, double x, double y, double radius, Colour colour) {
    cairo_pattern_t* pattern = cairo_pattern_create_radial(x, y, 0, x, y, radius);
    const double r = double(colour.rgb >> 16 & 0xffU) / 255;
    const double g = double(colour.rgb >> 8 & 0xffU) / 255;
    const double b = double(colour.rgb & 0xffU) / 255;
    cairo_pattern_add_color_stop_rgba(pattern, 0, r, g, b, colour.alpha);
    cairo_pattern_add_color_stop_rgba(pattern, 0.5, r, g, b, colour.alpha * 0.42);
    cairo_pattern_add_color_stop_rgba(pattern, 1, r, g, b, 0);
    cairo_set_source(cr, pattern);
    cairo_paint(cr);
    cairo_pattern_destroy(pattern);
}

void tick(cairo_t* cr, const Rect& box, Colour colour, double lineWidth) {
    setColour(cr, colour);
    cairo_set_line_width(cr, lineWidth);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_move_to(cr, box.x + box.width * 0.27, box.y + box.height * 0.53);
    cairo_line_to(cr, box.x + box.width * 0.44, box.y + box.height * 0.69);
    cairo_line_to(cr, box.x + box.width * 0.74, box.y + box.height * 0.34);
    cairo_stroke(cr);
}

void caret(cairo_t* cr, const Rect& place) {
    setColour(cr, {indigo});
    cairo_rectangle(cr, std::round(place.x) + 1, place.y + 1, 2, place.height - 2);
    cairo_fill(cr);
}

void pill(cairo_t* cr, std::string_view text, double x, double midY, std::uint32_t colour,
          bool alignRight = false) {
    const TextStyle style{13, Weight::semibold, {colour}, Align::centre};
    const double width = textWidth(cr, text, style) + 22;
    const Rect box{alignRight ? x - width : x, midY - 13, width, 26};
    fillRounded(cr, box, 13, {colour, 0.11});
    drawText(cr, text, box.inset(2, 0), style);
}

std::string_view caption(Button button, const Task& task) {
    switch (button) {
    case Button::newTask:
        return "New task";
    case Button::save:
        return "Save";
    case Button::share:
        return "Share";
    case Button::markDone:
        return task.done ? "Reopen" : "Mark done";
    case Button::assign:
        return task.assigned ? "Assigned" : "Assign to me";
    }
    return "";
}

void paintButton(cairo_t* cr, const DemoScene& scene, Button which) {
    const bool pressed = scene.pressedButton() == which && scene.hoveredButton() == which;
    const bool hovered = scene.hoveredButton() == which;
    const bool primary = which == Button::newTask || which == Button::markDone;
    Rect box = DemoLayout::button(which);
    TextStyle style{15, Weight::semibold, {primary ? paper : ink}, Align::centre};
    if (primary) {
        fillRounded(cr, box, 9, {pressed ? indigoDark : hovered ? indigoLight : indigo});
        if (pressed) {
            strokeRounded(cr, box, 9, {0x3a3aa6}, 2);
        }
    } else {
        fillRounded(cr, box, 9, {pressed ? 0xe0e1e9U : hovered ? 0xf2f2f6U : paper});
        strokeRounded(cr, box, 9, {pressed ? 0xb9bbc6U : 0xd9dae2U});
    }
    if (pressed) {
        box = box.translated(0, 1);
    }
    if (which == Button::newTask) {
        setColour(cr, {paper});
        cairo_set_line_width(cr, 2);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        const Vec2 mid{box.x + 24, box.midY()};
        cairo_move_to(cr, mid.x - 6, mid.y);
        cairo_line_to(cr, mid.x + 6, mid.y);
        cairo_move_to(cr, mid.x, mid.y - 6);
        cairo_line_to(cr, mid.x, mid.y + 6);
        cairo_stroke(cr);
        box = {box.x + 26, box.y, box.width - 30, box.height};
    }
    drawText(cr, caption(which, scene.selectedTask()), box, style);
}

void paintCheckbox(cairo_t* cr, const Rect& box, bool checked) {
    if (checked) {
        fillRounded(cr, box, box.width / 2, {green});
        tick(cr, box, {paper}, 2.6);
    } else {
        fillRounded(cr, box, box.width / 2, {paper});
        strokeRounded(cr, box, box.width / 2, {0xc1c3cf}, 2);
    }
}

void paintField(cairo_t* cr, const Rect& box, bool focused) {
    if (focused) {
        fillRounded(cr, box.inset(-3, -3), 12, {indigo, 0.18});
    }
    fillRounded(cr, box, 9, {paper});
    strokeRounded(cr, box, 9, {focused ? indigo : 0xd9dae2U}, focused ? 2 : 1);
}

bool isClippedAway(cairo_t* cr, const Rect& rect) {
    double x1 = 0;
    double y1 = 0;
    double x2 = 0;
    double y2 = 0;
    cairo_clip_extents(cr, &x1, &y1, &x2, &y2);
    return rect.maxX() <= x1 || rect.minX() >= x2 || rect.maxY() <= y1 || rect.minY() >= y2;
}

} // namespace

void DemoPainter::paintDesktop(cairo_t* cr, int width, int height, const Rect& window) {
    setColour(cr, {0x171531});
    cairo_paint(cr);
    const double w = width;
    const double h = height;
    glow(cr, w * 0.12, h * 0.1, w * 0.55, {0x4f46e5, 0.85});
    glow(cr, w * 0.95, h * 0.05, w * 0.5, {0x0ea5b7, 0.7});
    glow(cr, w * 0.85, h * 1.0, w * 0.55, {0xc026a3, 0.6});
    glow(cr, w * 0.1, h * 1.05, w * 0.5, {0xf97352, 0.55});
    softShadow(cr, window, DemoLayout::cornerRadius, 64, 26, 0.5);
}

void DemoPainter::paintWindow(cairo_t* cr, const DemoScene& scene) const {
    cairo_save(cr);
    roundedRectangle(cr, DemoLayout::window, DemoLayout::cornerRadius);
    cairo_clip(cr);
    setColour(cr, {paper});
    cairo_paint(cr);
    const auto part = [&](const Rect& where, auto paint) {
        if (!isClippedAway(cr, where)) {
            cairo_save(cr);
            cairo_rectangle(cr, where.x, where.y, where.width, where.height);
            cairo_clip(cr);
            (this->*paint)(cr, scene);
            cairo_restore(cr);
        }
    };
    part(DemoLayout::titleBar, &DemoPainter::paintTitleBar);
    part(DemoLayout::toolbar, &DemoPainter::paintToolbar);
    part(DemoLayout::list, &DemoPainter::paintList);
    part(DemoLayout::detail, &DemoPainter::paintDetail);
    part(DemoLayout::toast.inset(-24, -24), &DemoPainter::paintToast);
    cairo_restore(cr);
}

void DemoPainter::paintTitleBar(cairo_t* cr, const DemoScene&) const {
    setColour(cr, {0x24243f});
    cairo_paint(cr);
    fillRounded(cr, {20, 13, 22, 22}, 6, {indigoLight});
    tick(cr, {20, 13, 22, 22}, {paper}, 2.2);
    drawText(cr, "Fieldbook", {54, 0, 200, DemoLayout::titleBarHeight}, {15, Weight::semibold, {paper}});
    drawText(cr, "Spring release", {140, 0, 300, DemoLayout::titleBarHeight},
             {15, Weight::regular, {0xb5b5cf}});
    setColour(cr, {0xb5b5cf});
    cairo_set_line_width(cr, 1.8);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_move_to(cr, 1334, 25);
    cairo_line_to(cr, 1346, 25);
    cairo_stroke(cr);
    cairo_rectangle(cr, 1370, 19, 11, 11);
    cairo_stroke(cr);
    cairo_move_to(cr, 1405, 19);
    cairo_line_to(cr, 1416, 30);
    cairo_move_to(cr, 1416, 19);
    cairo_line_to(cr, 1405, 30);
    cairo_stroke(cr);
}

void DemoPainter::paintToolbar(cairo_t* cr, const DemoScene& scene) const {
    setColour(cr, {paper});
    cairo_paint(cr);
    for (const Button button : {Button::newTask, Button::save, Button::share}) {
        paintButton(cr, scene, button);
    }
    paintSearch(cr, scene);
    setColour(cr, {line});
    cairo_rectangle(cr, 0, DemoLayout::toolbarBottom - 1, DemoLayout::width, 1);
    cairo_fill(cr);
}

void DemoPainter::paintSearch(cairo_t* cr, const DemoScene& scene) const {
    const Rect box = DemoLayout::field(Field::search);
    const bool focused = scene.focus() == Field::search;
    paintField(cr, box, focused);
    setColour(cr, {faintInk});
    cairo_set_line_width(cr, 2);
    cairo_arc(cr, box.x + 21, box.midY() - 1, 6, 0, 6.2832);
    cairo_stroke(cr);
    cairo_move_to(cr, box.x + 25.5, box.midY() + 3.5);
    cairo_line_to(cr, box.x + 29.5, box.midY() + 7.5);
    cairo_stroke(cr);
    const Rect inner{box.x + 42, box.y, box.width - 120, box.height};
    if (scene.search().empty() && !focused) {
        drawText(cr, "Search tasks", inner, {15, Weight::regular, {faintInk}});
        drawText(cr, "Ctrl F", {box.maxX() - 76, box.y, 62, box.height},
                 {13, Weight::medium, {faintInk}, Align::right});
    } else {
        const Rect end = drawText(cr, scene.search(), inner, {15, Weight::medium, {ink}});
        if (focused) {
            caret(cr, end);
        }
    }
}

void DemoPainter::paintList(cairo_t* cr, const DemoScene& scene) const {
    setColour(cr, {panel});
    cairo_paint(cr);
    setColour(cr, {line});
    cairo_rectangle(cr, DemoLayout::listWidth - 1, DemoLayout::toolbarBottom, 1, DemoLayout::height);
    cairo_fill(cr);

    const std::vector<std::size_t> shown = scene.shownTasks();
    drawText(cr, scene.search().empty() ? "This sprint" : "Found", {28, 130, 300, 40},
             {19, Weight::bold, {ink}});
    drawText(cr, fmt::format("{} tasks", shown.size()), {300, 130, DemoLayout::listWidth - 328, 40},
             {14, Weight::medium, {faintInk}, Align::right});
    for (const std::size_t task : shown) {
        if (scene.draggedRow() != task) {
            paintRow(cr, scene, task);
        }
    }
    if (const auto dragged = scene.draggedRow()) {
        paintRow(cr, scene, *dragged);
    }
}

void DemoPainter::paintRow(cairo_t* cr, const DemoScene& scene, std::size_t index) const {
    const Task& task = scene.tasks()[index];
    const Rect box = DemoLayout::row(task.slot);
    const bool lifted = scene.draggedRow() == index;
    if (isClippedAway(cr, box.inset(-24, -24))) {
        return;
    }
    const bool selected = scene.selected() == index;
    if (lifted) {
        softShadow(cr, box, 11, 18, 7, 0.22);
    }
    if (lifted || selected) {
        fillRounded(cr, box, 11, {lifted ? paper : indigoTint});
        strokeRounded(cr, box, 11, {indigo, lifted ? 0.9 : 0.5}, lifted ? 2 : 1.5);
    } else {
        fillRounded(cr, box, 11, {scene.hoveredRow() == index ? 0xf1f1f8U : paper});
        strokeRounded(cr, box, 11, {line});
    }
    paintCheckbox(cr, DemoLayout::checkbox(box), task.done);
    const double textLeft = box.x + 64;
    const double textRoom = box.width - 64 - 110;
    drawText(cr, task.title, {textLeft, box.y + 12, textRoom, 26},
             {16, Weight::semibold, {task.done ? faintInk : ink}, Align::left, task.done});
    drawText(cr, task.place, {textLeft, box.y + 37, textRoom, 22}, {13, Weight::regular, {softInk}});
    pill(cr, task.tag, box.maxX() - 18, box.y + 27, task.tagColour, true);
    const Rect bar{box.maxX() - 102, box.y + 50, 84, 5};
    fillRounded(cr, bar, 2.5, {0xe4e5ea});
    if (task.progress > 0.03) {
        fillRounded(cr, {bar.x, bar.y, std::max(5.0, bar.width * task.progress), bar.height}, 2.5,
                    {task.tagColour});
    }
}

void DemoPainter::paintDetail(cairo_t* cr, const DemoScene& scene) const {
    const Task& task = scene.selectedTask();
    const double left = DemoLayout::listWidth + 48;
    drawText(cr, task.title, {left, 146, 620, 44}, {28, Weight::bold, {ink}});
    pill(cr, task.done ? "Done" : "In progress", DemoLayout::field(Field::notes).maxX(), 168,
         task.done ? green : indigo, true);
    drawText(cr, task.place + (task.assigned ? " · assigned to you" : ""), {left, 190, 620, 26},
             {15, Weight::regular, {softInk}});
    drawText(cr, "Notes", {left, 232, 200, 26}, {14, Weight::semibold, {softInk}});
    paintNotes(cr, scene);
    drawText(cr, "Progress", {left, 460, 200, 26}, {14, Weight::semibold, {softInk}});
    paintSlider(cr, scene);
    drawText(cr, "Effort this week", {left, 562, 300, 26}, {14, Weight::semibold, {softInk}});
    paintChart(cr, scene);
    paintButton(cr, scene, Button::markDone);
    paintButton(cr, scene, Button::assign);
}

void DemoPainter::paintNotes(cairo_t* cr, const DemoScene& scene) const {
    const Rect box = DemoLayout::field(Field::notes);
    const bool focused = scene.focus() == Field::notes;
    paintField(cr, box, focused);
    const std::string& notes = scene.selectedTask().notes;
    const Rect inner = box.inset(18, 16);
    TextStyle style{16, Weight::regular, {ink}};
    style.wraps = true;
    style.lineSpacing = 1.3;
    if (notes.empty() && !focused) {
        style.colour = {faintInk};
        drawText(cr, "Write something about this task", inner, style);
        return;
    }
    const Rect end = drawText(cr, notes, inner, style);
    if (focused) {
        caret(cr, end);
    }
}

void DemoPainter::paintSlider(cairo_t* cr, const DemoScene& scene) const {
    const Task& task = scene.selectedTask();
    const Rect& box = DemoLayout::slider;
    const Vec2 low = DemoLayout::sliderHandle(0);
    const Vec2 handle = DemoLayout::sliderHandle(task.progress);
    const Vec2 high = DemoLayout::sliderHandle(1);
    fillRounded(cr, {low.x, low.y - 4, high.x - low.x, 8}, 4, {0xe4e5ea});
    fillRounded(cr, {low.x, low.y - 4, std::max(8.0, handle.x - low.x), 8}, 4, {indigo});
    const double radius = scene.sliderHeld() ? 14 : 12;
    if (scene.sliderHeld()) {
        fillRounded(cr, {handle.x - 20, handle.y - 20, 40, 40}, 20, {indigo, 0.16});
    }
    const Rect knob{handle.x - radius, handle.y - radius, 2 * radius, 2 * radius};
    softShadow(cr, knob, radius, 5, 2, 0.18);
    fillRounded(cr, knob, radius, {paper});
    strokeRounded(cr, knob, radius, {indigo}, 3);
    drawText(cr, fmt::format("{:.0f} %", task.progress * 100), {box.maxX() + 16, box.y, 80, box.height},
             {20, Weight::bold, {ink}, Align::right});
}

void DemoPainter::paintChart(cairo_t* cr, const DemoScene& scene) const {
    static constexpr std::array<std::string_view, 7> days{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static constexpr std::array<double, 7> base{0.42, 0.66, 0.35, 0.8, 0.54, 0.2, 0.12};
    const Rect& box = DemoLayout::chart;
    const double pitch = box.width / double(days.size());
    const double room = box.height - 30;
    setColour(cr, {0xeeeff3});
    for (int i = 0; i < 4; ++i) {
        cairo_rectangle(cr, box.x, std::round(box.y + room * i / 3), box.width, 1);
        cairo_fill(cr);
    }
    for (std::size_t i = 0; i < days.size(); ++i) {
        const double share = std::min(1.0, base[i] * (0.45 + 1.1 * scene.selectedTask().progress));
        const double x = box.x + pitch * double(i) + pitch / 2 - 22;
        const Rect bar{x, box.y + room * (1 - share), 44, room * share};
        fillRounded(cr, bar, 6, {i < 5 ? indigo : 0xb1a9ffU, i < 5 ? 0.92 : 0.8});
        drawText(cr, days[i], {x - 10, box.y + room + 4, 64, 24},
                 {13, Weight::medium, {faintInk}, Align::centre});
    }
}

void DemoPainter::paintToast(cairo_t* cr, const DemoScene& scene) const {
    if (scene.toastOpacity() <= 0) {
        return;
    }
    const Rect& box = DemoLayout::toast;
    cairo_push_group(cr);
    fillRounded(cr, box, 12, {0x24243f});
    const Rect mark{box.x + 16, box.y + 14, 28, 28};
    fillRounded(cr, mark, 14, {green});
    tick(cr, mark, {paper}, 2.6);
    drawText(cr, scene.toastText(), {box.x + 58, box.y, box.width - 70, box.height},
             {16, Weight::semibold, {paper}});
    cairo_pop_group_to_source(cr);
    cairo_paint_with_alpha(cr, scene.toastOpacity());
}

} // namespace tavrin::demo
