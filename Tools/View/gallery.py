#!/usr/bin/env python3
"""Writes the authored trees of the gallery. Run by ./dev gallery: gallery.py FOLDER."""

import sys
from pathlib import Path
from xml.sax.saxutils import quoteattr


class Node:
    def __init__(self, tag, *children, **attributes):
        self.tag, self.children, self.attributes = tag, children, attributes

    def text(self, level=0):
        pad = "  " * level
        attributes = "".join(f" {key.replace('_', '-')}={quoteattr(str(value))}"
                             for key, value in self.attributes.items())
        if not self.children:
            return f"{pad}<{self.tag}{attributes}/>\n"
        inner = "".join(child.text(level + 1) for child in self.children)
        return f"{pad}<{self.tag}{attributes}>\n{inner}{pad}</{self.tag}>\n"


def frame(image_set, color, *children, **attributes):
    attributes.setdefault("has_borders", "true")
    attributes.setdefault("has_center", "true")
    return Node("ui:frame-base", *children, image_set=f"shared::is.{image_set}", color=color,
                **attributes)


def view(*children, **attributes):
    return Node("ui:view", *children, **attributes)


def caption(title, color, font="base", **attributes):
    attributes.setdefault("height", "compact")
    return Node("ui:caption", title=title, color=color, font_name=f"shared::font.{font}",
                width=attributes.pop("width", "compact"), **attributes)


def picture(image_set, image_range, color, **attributes):
    attributes.setdefault("width", "compact")
    attributes.setdefault("height", "compact")
    return Node("ui:picture", image_set=f"shared::is.{image_set}", image_set_range=image_range,
                color=color, **attributes)


def shadow(image_set, spread, border, color):
    """border: of the plate that throws it, which the shadow leaves again."""
    return Node("ui:shadow", name=f"shadow-{image_set}", image_set=f"shared::is.{image_set}",
                color=color, placement="overlay", width="100%", height="100%", spread=str(spread),
                outer_border=border, z_index="-1 ^", is_decorative="true")


# Look of a button: its colour state and the range of its images.
LOOKS = {
    "rest": ("", ""),
    "hover": ("Hover", ""),
    "active": ("Active", "Active"),
    "active-hover": ("ActiveHover", "Active"),
    "pushed": ("", "Pushed"),
    "error": ("Error", ""),
}


def button(title, look="rest", color="Button", width="compact", **attributes):
    state, image_range = LOOKS[look]
    if state:
        attributes["color_state"] = state
    if image_range:
        attributes["image_set_range"] = image_range
    text_state = {"color_state": state.replace("Hover", "")} if state.replace("Hover", "") else {}
    return frame("button", color, shadow("shadowhard", 4, "LR-8", "ShadowLight"),
                 caption(title, color, placement="inline", **text_state),
                 width=width, height=24, inner_border="LR8",
                 outer_border=attributes.pop("outer_border", "LR2"), placement=attributes.pop("placement", "left"), **attributes)


def glyph(name, look="rest", **attributes):
    state, image_range = LOOKS[look]
    states = {"color_state": state.replace("Hover", "")} if state.replace("Hover", "") else {}
    color = attributes.pop("color", "Button")
    more = {"color_state": state} if state else {}
    if image_range:
        more["image_set_range"] = image_range
    return frame("button", color, shadow("shadowhard", 4, "0", "ShadowLight"),
                 picture("button", name, color + "Text", placement="inline", **states),
                 width=26, height=24, outer_border="LR2", placement=attributes.pop("placement", "left"),
                 **more, **attributes)


def row(*children, height=28, **attributes):
    return view(*children, placement="top", width="100%", height=height, **attributes)


def check(title, is_on, color="Checkbox"):
    return view(view(picture("checkbox", "", color, image_set_index=0, placement="overlay"),
                     *([picture("checkbox", "Tick", color + "_Active", color_slots="|", placement="overlay")]
                       if is_on else []),
                     width=16, height=16, placement="left"),
                caption(title, "Panel", placement="left", height="100%", outer_border="L6 R14"),
                placement="left", width="compact", height="100%")


def slider(gain):
    return view(
        picture("csurface", "SliderV", "CSSliderBarPit", image_set_index=4, is_tiling_y="true",
                placement="overlay", width=6, height="100%"),
        view(picture("csurface", "SliderV", "CSSliderBar", image_set_index=2, is_tiling_y="true",
                     placement="bottom", width=4, height=f"{gain * 100:.1f}%"),
             placement="overlay", width=6, height="100%"),
        view(picture("csurface", "SliderV", "CSPoint", placement="bottom",
                     outer_border=f"B{gain * 140 - 10:.1f}"),
             placement="overlay", width="100%", height="100%"),
        placement="left", width=30, height="100%")


def title_bar():
    return frame("frame", "WindowTitle",
                 caption("Sorrel GEQ", "WindowTitle", "title", placement="left", outer_border="L8", height="100%"),
                 glyph("GlyphHelp", placement="right"),
                 glyph("GlyphBypass", "active", placement="right", color="Bypass"),
                 glyph("GlyphBypass", placement="right", color="Bypass"),
                 placement="top", width="100%", height=30, inner_border="LR4",
                 image_set_range="Plate")


def equalizer():
    gains = [.62, .66, .7, .66, .58, .52, .49, .47, .46, .48, .53, .6, .67, .74, .8, .84]
    return frame("framex1", "Panel", shadow("shadow", 10, "-10", "Shadow"),
                 row(frame("frame", "TitleFrame",
                           caption("Linear-Phase Equalizer", "TitleFrame", "title", placement="inline"),
                           image_set_range="Plate", placement="left", width=220, height=26),
                     glyph("ArrowUpDn"), button("100%", width=52), button("Inv", "active"),
                     button("Reset", "hover"), caption("STEREO", "Custom5", placement="right",
                                                      height="100%", outer_border="R6"), height=32),
                 frame("csurface", "CSBackground", *[slider(gain) for gain in gains],
                       frame("ruler", "CSReadout", caption("+3.2 dB", "CSReadout", "small", placement="inline"),
                             placement="right", width=64, height=24),
                       placement="full", width="100%", height="100%", inner_border="L12 R12 TB8"),
                 placement="top", width="100%", height=208, inner_border="10")


def controls():
    return frame("framex1", "Panel", shadow("shadow", 10, "-12", "Shadow"),
                 view(
                     row(button("Rest"), button("Hover", "hover"), button("Active", "active"),
                         button("Active hover", "active-hover"), button("Pushed", "pushed"),
                         button("Error", "error"), glyph("GlyphSettings"), glyph("GlyphUndo"),
                         glyph("GlyphRedo"), glyph("ArrowDn", "pushed"), glyph("GlyphClose", "hover")),
                     row(check("Check box", False), check("Checked", True),
                         frame("editbox", "EditBox", caption("Instance name", "EditBox", placement="left", height="100%"),
                               placement="left", width=130, height=24, inner_border="LR8"),
                         frame("editbox", "EditBox", caption("1.00 kHz", "EditBox", placement="left", height="100%"),
                               placement="left", width=90, height=24, inner_border="LR8",
                               image_set_range="Focus", outer_border="L6"),
                         button("Opens a list", "rest", "ComplexButton", outer_border="L6"),
                         ),
                     row(frame("scroller", "ScrollerBarNeutralBG",
                               frame("scroller", "ScrollerBarNeutral", placement="left", width=90,
                                     height="100%", image_set_range="Thumb"),
                               placement="left", width=200, height=16, inner_border="1"),
                         caption("Gain [B]+6.0[/B] dB, H[SUP]2[/SUP]", "Panel", placement="left", outer_border="L12",
                                 height="100%"),
                         *[caption(f"Group {i}", f"Custom{i}", "compact", placement="left",
                                   outer_border="L8", height="100%") for i in (1, 4, 6, 8)],
                         height=24),
                     placement="full", width="100%", height="100%"),
                 placement="top", width="100%", height=112, inner_border="12", outer_border="T6")


def hint():
    return frame("statusbar", "HintPanel",
                 caption("[IMG=shared::is.button#IconLMB] + drag to adjust, [IMG=shared::is.button#IconDblLMB] to reset",
                         "HintPanel", placement="left", height="100%"),
                 placement="bottom", width="100%", height=28, inner_border="LR12", outer_border="T4")


def panel():
    return frame("popup", "Background", title_bar(),
                 view(hint(), equalizer(), controls(), placement="full", width="100%",
                      height="100%", outer_border="6"),
                 name="main", placement="full", width="100%", height="100%", inner_border="1")


def small_panel():
    """A piece of each kind of ground, for the comparison of palettes."""
    return frame("popup", "Background",
                 frame("framex1", "Panel",
                       row(frame("frame", "TitleFrame",
                                 caption("Equalizer", "TitleFrame", "title", placement="inline"),
                                 image_set_range="Plate", placement="left", width=96, height=26),
                           button("Reset"), button("Inv", "active"), height=30),
                       row(check("On", True), glyph("GlyphSettings"), glyph("GlyphBypass", "active", color="Bypass"),
                           frame("editbox", "EditBox", caption("20 Hz", "EditBox", placement="inline"),
                                 placement="left", width=60, height=24), height=30),
                       frame("csurface", "CSBackground", *[slider(g) for g in (.3, .5, .65, .55, .8, .4)],
                             placement="full", width="100%", height="100%", inner_border="L12 TB6"),
                       placement="full", width="100%", height="100%", inner_border="8"),
                 frame("statusbar", "HintPanel", caption("Hint [IMG=shared::is.button#IconLMB]", "HintPanel", placement="left", height="100%"),
                       placement="bottom", width="100%", height=26, inner_border="LR10"),
                 name="main", placement="full", width="100%", height="100%", inner_border="6")


# Frames of all sets: image set, range, colour.
FRAMES = [
    ("framex1", "", "Panel"), ("framex2", "", "Panel"), ("frame", "", "SimpleFrame"),
    ("frame", "Plate", "TitleFrame"), ("popup", "", "Background"), ("popup2", "", "Popup"),
    ("statusbar", "", "HintPanel"), ("button", "", "Button"), ("button", "Active", "Button_Active"),
    ("button", "Pushed", "Button"), ("button", "Flat", "Button"), ("editbox", "", "EditBox"),
    ("editbox", "Hover", "EditBox"), ("editbox", "Focus", "EditBox"),
    ("scroller", "", "ScrollerBarNeutralBG"), ("scroller", "Thumb", "ScrollerBarNeutral"),
    ("scroller", "ThumbHover", "ScrollerBarNeutral"),
    ("scroller", "ThumbPushed", "ScrollerBarNeutral"), ("ruler", "", "RulerLabel"),
    ("csurface", "", "CSBackground"), ("shadow", "", "Shadow"), ("shadowhard", "", "Shadow"),
]
OPEN_CENTRE = {("framex2", ""), ("button", "Flat"), ("frame", ""), ("shadow", ""), ("shadowhard", "")}

# Single images: image set, colour, ranges or (range, index).
IMAGES = [
    ("button", "PanelText", ["GlyphClose", "GlyphBypass", "GlyphSettings", "GlyphMenu", "GlyphHelp",
                             "GlyphUndo", "GlyphRedo", "GlyphHistory", "GlyphInsert", "GlyphRemove",
                             "GlyphCheck", "GlyphMinimize", "GlyphScreenshot", "GlyphCopy",
                             "GlyphFolder", "GlyphLock", "ArrowUp", "ArrowDn", "ArrowLeft",
                             "ArrowRight", "ArrowUpDn", "ArrowLeftRight"]),
    ("button", "PanelText", ["DynListCircle", "DynListCheck", "IconLMB", "IconRMB", "IconMMB",
                             "IconWheel", "IconDblLMB", "IconDrag", "IconKey"]),
    ("checkbox", "Checkbox", ["", "Pushed", "Dot", "DotPushed"]),
    ("scroller", "ScrollerButton", ["EdgeV", "EdgeH", "ArrowUp", "ArrowDown", "ArrowLeft",
                                    "ArrowRight"]),
    ("ruler", "ScrollerButton", ["MarkDown", "MarkUp", "MarkRight", "MarkLeft"]),
    ("csurface", "CSPoint", [(name, index) for name in ("SliderV", "SliderH") for index in range(5)]
     + [("Point", index) for index in range(3)]),
]


def images():
    def sample(image_set, image_range, color):
        return view(frame(image_set, color, image_set_range=image_range, placement="top",
                          width="100%", height=44,
                          has_center=str((image_set, image_range) not in OPEN_CENTRE).lower()),
                    caption(f"{image_set} {image_range}", "Panel", "micro-sm", placement="bottom"),
                    placement="left", width=92, height=60, outer_border="4")

    def single(image_set, color, item):
        image_range, index = item if isinstance(item, tuple) else (item, 0)
        return picture(image_set, image_range, color, image_set_index=index, placement="left",
                       outer_border="LR3")

    rows = [row(*[sample(*item) for item in FRAMES[start:start + 7]], height=68)
            for start in range(0, len(FRAMES), 7)]
    rows += [row(*[single(image_set, color, item) for item in items], height=36)
             for image_set, color, items in IMAGES]
    textured = [frame("frame", "TitleFrame", image_set_range=image_range, placement="left", width=180,
                      height="100%", outer_border="LR4", is_textured_background="true",
                      textured_background_offset_x=offset)
                for image_range, offset in (("", 0), ("Plate", -24))]
    rows.append(view(*textured,
                     view(picture("texture", "", "PanelTexture", is_tiling_x="true",
                                  is_tiling_y="true", placement="overlay", width="100%",
                                  height="100%"),
                          placement="full", width="100%", height="100%"),
                     placement="top", width="100%", height=48))
    return frame("popup", "Panel", view(*rows, placement="full", width="100%", height="100%"),
                 name="main", placement="full", width="100%", height="100%", inner_border="8")


TREES = {"panel": panel, "palette": small_panel, "images": images}

folder = Path(sys.argv[1])
folder.mkdir(parents=True, exist_ok=True)
for name, make in TREES.items():
    (folder / f"{name}.xml").write_text(make().text())
