// Sample holders as JSON for projectdb holders: show --json, export, import.
//
// One holder is one object: "uuid", "kind" ("plate", "dish", "slide"),
// "company", "type", "model", "userImported", "removed", "width",
// "height" (mm), "outline" (a shape), "sticker" {"l","t","r","b"},
// "crosses" [{"x","y"}...], for plates "grid" {"rows", "cols", "rowNaming",
// "colNaming" ("letters", "numbers", "padded"), "first" {"x","y"}, "pitch"
// {"x","y"}, "well" (a shape)}, and "elements": [{"name": "A1", "row",
// "col", "center": {"x", "y"}, "shape"}]. A shape is {"kind": "rect" |
// "roundrect" | "ellipse" | "polygon", "width", "height", "radius",
// "points": [[x, y], ...]}. All lengths in millimetres, origin top-left, y down.
#pragma once

#include "gnr_projectdb/holders.h"

#include <QJsonObject>

#include <string>

QJsonObject YxTool_HolderToJson(const SYxHolderEntry& entry);
// Reads a holder written by YxTool_HolderToJson (uuid optional; plates are
// rebuilt from "grid", their "elements" ignored). False with a reason in
// *error when a value is missing or of the wrong type.
bool YxTool_HolderFromJson(const QJsonObject& object, SYxHolderEntry& entry, std::string* error);
