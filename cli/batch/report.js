// (c) the ztrace developers. Licence: see LICENSE.
//
// The report: gallery and table of the rows that filters leave, distributions, and the viewer. Rows, their previews and the
// folders are elements of the page. Names come from files and are never taken for markup.
"use strict";
const rows = JSON.parse(document.getElementById("rows").textContent);
const $ = id => document.getElementById(id);
const kPage = 60, kLines = 100;
const kPrinted = 1000; // most pictures on paper, 16 a sheet
const columns = [
  ["name", "Picture", "wide"], ["outcome", "Outcome", ""], ["flags", "Flags", ""], ["preset", "Preset", ""],
  ["seconds", "Seconds", "number"], ["agreement", "Agreement", "number"], ["colour", "Colour error", "number"],
  ["pieces", "Pieces", "number"], ["peak", "Memory MB", "number"], ["size", "Size", "size"]];
const orders = [["name", 1, "name"], ["agreement", 1, "worst agreement first"], ["seconds", -1, "slowest first"], ["pieces", -1, "most pieces first"], ["index", 1, "as finished"]];
let shown = [], drawn = 0, line = 0, sortBy = "name", sortWay = 1, current = -1, scale = 0, room = null;
const kLeastScale = -4, kMoved = 60;
// Pixels of the screen that one of the preview and one of the picture get at most: beyond that there is nothing to be seen.
const kPreviewPixel = 16, kPicturePixel = 100;
for (const row of rows) row.page = row.page ?? 1;
const inPages = new Set(rows.filter(row => row.page !== 1).map(row => row.path));
rows.forEach((row, i) => {
  row.index = i;
  row.flags = row.flags || [];
  row.name = row.path + (row.page === 0 ? ", its pages in one file" : inPages.has(row.path) ? ", page " + row.page : "");
});
// Numbers in names count as such: page 10 comes after page 2.
const collator = new Intl.Collator("en", { numeric: true });
[...rows].sort((a, b) => collator.compare(a.path, b.path) || a.page - b.page).forEach((row, i) => { row.rank = i; });

function element(tag, attributes, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {}))
    if (value !== undefined && value !== false) made.setAttribute(name, value);
  made.append(...children);
  return made;
}
// Where there is nothing to go to, buttons keep the focus, and the keys with it, and do nothing.
function enable(id, isUseful) { $(id).setAttribute("aria-disabled", !isUseful); }
function number(value, digits) { return value === undefined ? "" : Number(value).toLocaleString("en", { maximumSignificantDigits: digits || 3 }); }
// Without the name, which stands above it.
function reason(row) {
  const error = row.error || "";
  return error.startsWith(row.path + ": ") ? error.slice(row.path.length + 2) : error;
}
function tags(row) {
  const found = row.flags.map(flag => element("span", { class: "tag look" }, flag));
  if (row.outcome !== "done") found.unshift(element("span", { class: "tag bad" }, row.outcome));
  return found;
}
// Of a given width, or of what the place has room for.
function pair(row, width) {
  const data = row.preview === undefined ? null : $("p" + row.preview);
  if (!data) return element("span", {}, row.outcome === "done" ? "no preview" : "no drawing");
  const url = 'url("data:image/jpeg;base64,' + data.textContent + '")';
  const both = element("div", { class: "both" });
  both.style.setProperty("--ratio", row.width / row.height);
  if (width) both.style.width = width + "px";
  if (width >= 2 * row.previewWidth) both.classList.add("enlarged");
  for (const name of ["source", "drawing"]) {
    const side = element("div", { class: name });
    side.style.backgroundImage = url;
    both.append(side);
  }
  both.append(element("div", { class: "line" }));
  return both;
}
function card(row) {
  const box = element("div", { class: "pair" });
  box.append(pair(row));
  const made = element("button", { type: "button", class: "card", "data-index": row.index,
    "aria-label": row.name + ", " + row.outcome + (row.flags.length ? ", flagged: " + row.flags.join(", ") : "") },
    box, element("span", { class: "name" }, row.name),
    element("span", { class: "facts" }, row.outcome === "done"
      ? [row.preset, number(row.seconds) + " s", row.agreement === undefined ? "" : "agreement " + number(row.agreement)].filter(Boolean).join(", ")
      : reason(row)));
  const found = tags(row);
  if (found.length) made.append(element("span", {}, ...found));
  made.addEventListener("click", () => view(shown.indexOf(row)));
  return made;
}
function drawUpTo(count) {
  const part = shown.slice(drawn, count);
  $("gallery").append(...part.map(card));
  drawn += part.length;
}
function drawMore() { drawUpTo(drawn + kPage); }
const observer = new IntersectionObserver(seen => {
  if (seen.some(one => one.isIntersecting) && !$("gallery").hidden && drawn < shown.length) {
    drawMore();
    observer.unobserve($("more"));
    observer.observe($("more")); // it may still be in sight
  }
}, { rootMargin: "600px" });
observer.observe($("more"));

function sortValue(row) {
  if (sortBy === "name") return row.rank;
  if (sortBy === "flags") return row.flags.join() || undefined;
  if (sortBy === "size") return row.width && row.width * row.height;
  return row[sortBy];
}
// Rows without a value come last, either way.
function compare(a, b) {
  const x = sortValue(a), y = sortValue(b);
  if (x === undefined || y === undefined) return (x === undefined) - (y === undefined) || a.rank - b.rank;
  return (x < y ? -1 : x > y ? 1 : 0) * sortWay || a.rank - b.rank;
}
function showOrder() {
  const at = orders.findIndex(([key, way]) => key === sortBy && way === sortWay);
  const ofTable = $("order").lastElementChild;
  const column = columns.find(([key]) => key === sortBy);
  if (at < 0) ofTable.textContent = column[1] + (sortWay > 0 ? ", rising" : ", falling");
  ofTable.hidden = at >= 0;
  $("order").value = at >= 0 ? at : "column";
}
function tableRow(row) {
  const cells = columns.map(([key, label, kind]) => {
    const cell = element("td", { class: kind, role: "cell", "data-label": label });
    if (key === "name") {
      const open = element("button", { type: "button" }, row.name);
      open.addEventListener("click", () => view(shown.indexOf(row)));
      cell.append(open);
      if (row.error) cell.append(element("span", { class: "facts" }, reason(row)));
    } else if (key === "flags") cell.append(...row.flags.map(flag => element("span", { class: "tag look" }, flag)));
    else if (key === "outcome") cell.append(row.outcome === "done" ? "done" : element("span", { class: "tag bad" }, row.outcome));
    else if (key === "size") cell.append(row.width ? row.width + " \u00d7 " + row.height : "");
    else cell.append(kind === "number" ? number(row[key]) : row[key] === undefined ? "" : String(row[key]));
    return cell;
  });
  return element("tr", { role: "row" }, ...cells);
}
function drawTable() {
  $("heads").replaceChildren(...columns.map(([key, label, kind]) => {
    const sorted = key === sortBy;
    const button = element("button", { type: "button" }, label);
    button.addEventListener("click", () => {
      sortWay = sorted ? -sortWay : 1;
      sortBy = key;
      update();
      $("heads").children[columns.findIndex(one => one[0] === key)].firstChild.focus();
    });
    return element("th", { scope: "col", role: "columnheader", class: kind === "number" && kind, "aria-sort": sorted ? (sortWay > 0 ? "ascending" : "descending") : "none" }, button);
  }));
  $("rowsOf").replaceChildren(...shown.slice(line, line + kLines).map(tableRow));
  $("place").textContent = shown.length ? (line + 1) + " to " + Math.min(line + kLines, shown.length) + " of " + shown.length : "none";
  enable("back", line > 0);
  enable("next", line + kLines < shown.length);
}
// One value in a hundred at either end may be far from all others: what lies beyond is in the last bars.
function plot(title, values, unit) {
  if (!values.length) return element("div", { class: "plot" }, element("h2", {}, title), element("p", {}, "no values"));
  const sorted = [...values].sort((a, b) => a - b);
  const rank = part => sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * part))];
  const least = sorted[0], most = sorted[sorted.length - 1], median = sorted[Math.ceil(sorted.length / 2) - 1];
  const low = rank(0.01), high = rank(0.99);
  const bins = 30, counts = new Array(bins).fill(0);
  const place = value => low < high ? Math.floor((value - low) / (high - low) * bins) : bins * (value < low ? 0 : value > high ? 1 : 0.5);
  for (const value of values) counts[Math.max(0, Math.min(bins - 1, place(value)))]++;
  const top = Math.max(...counts);
  const space = "http://www.w3.org/2000/svg";
  const svg = document.createElementNS(space, "svg");
  svg.setAttribute("viewBox", "0 0 300 84");
  svg.setAttribute("preserveAspectRatio", "none");
  svg.setAttribute("role", "img");
  svg.setAttribute("aria-label", title + ": " + values.length + " values from " + number(least) + " to " + number(most) + ", median " + number(median)
    + (low < high ? ", 98 of 100 from " + number(low) + " to " + number(high) : ""));
  counts.forEach((count, i) => {
    if (!count) return;
    const bar = document.createElementNS(space, "rect");
    const height = Math.max(2, 82 * count / top);
    for (const [name, value] of Object.entries({ x: i * 10 + 0.5, y: 84 - height, width: 9, height })) bar.setAttribute(name, value);
    svg.append(bar);
  });
  const text = (value, sign) => element("span", {}, sign + number(value) + unit);
  const ends = low < high ? [text(low, least < low ? "\u2264 " : ""), text(high, high < most ? "\u2265 " : "")]
    : least < most ? [text(least, ""), text(most, "")] : [];
  return element("div", { class: "plot" }, element("h2", {}, title, element("span", {}, "median " + number(median) + unit)), svg, element("p", {}, ...ends));
}
function update() {
  const words = $("search").value.toLowerCase(), outcome = $("outcome").value, flag = $("flag").value, preset = $("preset").value;
  shown = rows.filter(row => (!words || row.name.toLowerCase().includes(words)) && (!outcome || row.outcome === outcome)
    && (!preset || row.preset === preset) && (!flag || (flag === "*" ? row.flags.length : row.flags.includes(flag))));
  shown.sort(compare);
  showOrder();
  const failed = shown.filter(row => row.outcome !== "done").length, flagged = shown.filter(row => row.flags.length).length;
  $("counts").textContent = shown.length + " of " + rows.length + " pictures, " + failed + " without a drawing, " + flagged + " to be looked at";
  const of = key => shown.map(row => row[key]).filter(value => value !== undefined);
  $("plots").replaceChildren(plot("Time", of("seconds"), " s"), plot("Agreement", of("agreement"), ""), plot("Colour error", of("colour"), ""), plot("Pieces", of("pieces"), ""));
  $("none").hidden = shown.length > 0;
  $("gallery").replaceChildren();
  drawn = 0; line = 0;
  drawMore();
  drawTable();
  observer.unobserve($("more"));
  observer.observe($("more"));
}
function view(at) {
  if (at < 0 || at >= shown.length) return;
  current = at;
  const row = shown[at];
  $("title").textContent = row.name;
  $("detail").replaceChildren(...tags(row), document.createTextNode([
    row.error, row.preset && row.preset + (row.reason ? " (" + row.reason + ")" : ""), row.width && row.width + " \u00d7 " + row.height + " pixels",
    row.seconds !== undefined && number(row.seconds) + " s", row.pieces !== undefined && row.pieces + " pieces",
    row.agreement !== undefined && "agreement " + number(row.agreement, 4) + ", " + row.lost + " lost regions",
    row.outputs && row.outputs.join(", "), row.time && "traced " + minute(row.time), row.version && "ztrace " + row.version,
    row.settings && "settings " + row.settings].filter(Boolean).join("; ")));
  enable("before", at > 0);
  enable("after", at + 1 < shown.length);
  if (!$("viewer").open) $("viewer").showModal();
  $("stage").setAttribute("aria-label", "Picture and drawing of " + row.name);
  scale = 0;
  $("stage").replaceChildren();
  stage();
}
// In half steps of doubling, and never less than one whole one.
function mostScale() {
  const row = shown[current];
  const wide = Math.min(kPreviewPixel * row.previewWidth, kPicturePixel * row.width) || 0;
  return Math.max(2, Math.floor(2 * Math.log2(wide / fittingWidth()))) || 2;
}
function fittingWidth() {
  const row = shown[current];
  return Math.min(room[0], room[1] * row.width / row.height);
}
function stage() {
  const row = shown[current], box = $("stage");
  if (!scale || !room) room = [box.clientWidth - 24, box.clientHeight - 24]; // without scroll bars
  const factor = scale ? 2 ** (scale / 2) : 1;
  box.replaceChildren(pair(row, factor * fittingWidth()));
  box.classList.toggle("movable", box.scrollWidth > box.clientWidth || box.scrollHeight > box.clientHeight);
  enable("in", scale < mostScale());
  enable("out", scale > kLeastScale);
  $("zoom").textContent = Math.round(factor * 100) + " %";
}
function zoom(step) {
  const box = $("stage");
  const x = (box.scrollLeft + box.clientWidth / 2) / box.scrollWidth, y = (box.scrollTop + box.clientHeight / 2) / box.scrollHeight;
  if (step === 0) box.replaceChildren();
  scale = step === 0 ? 0 : Math.max(kLeastScale, Math.min(mostScale(), scale + step));
  stage();
  box.scrollLeft = x * box.scrollWidth - box.clientWidth / 2;
  box.scrollTop = y * box.scrollHeight - box.clientHeight / 2;
}
function move(x, y) { $("stage").scrollBy(x, y); }
// The mouse takes hold of the picture; fingers scroll it anyway.
function hold(event) {
  if (event.pointerType !== "mouse" || event.button !== 0 || !$("stage").classList.contains("movable")
    || event.offsetX > $("stage").clientWidth && event.target === $("stage") || event.offsetY > $("stage").clientHeight && event.target === $("stage")) return;
  $("stage").setPointerCapture(event.pointerId);
  $("stage").classList.add("moved");
}
function drag(event) { if ($("stage").classList.contains("moved")) move(-event.movementX, -event.movementY); }
function letGo() { $("stage").classList.remove("moved"); }
function split(value) {
  document.documentElement.style.setProperty("--split", value + "%");
  $("split").value = value;
  $("split2").value = value;
}
function show(table) {
  $("gallery").hidden = $("more").hidden = table;
  $("list").hidden = !table;
  $("asTable").setAttribute("aria-pressed", table);
  $("asGallery").setAttribute("aria-pressed", !table);
}
// Paper has no place to scroll to and no next page to ask for.
function drawForPaper() {
  const isTable = $("gallery").hidden;
  const count = Math.min(shown.length, isTable ? kPrinted : Math.max(kPrinted, drawn));
  if (isTable) {
    $("rowsOf").replaceChildren(...shown.slice(0, count).map(tableRow));
    for (const head of $("heads").children) head.textContent = head.textContent; // browsers repeat no buttons on other sheets
  } else {
    drawUpTo(count);
  }
  $("printed").textContent = count === shown.length ? "" : "On paper: the first " + count + " of " + shown.length + ". Choose fewer, by name for instance, to print others.";
}
function minute(time) { return time.slice(0, 16).replace("T", " "); }
// Where and when, and whether it was all done in the same way.
function about() {
  const folders = JSON.parse($("folders").textContent), times = rows.map(row => row.time).filter(Boolean).sort();
  const different = key => [...new Set(rows.map(row => row[key]).filter(Boolean))].sort();
  const said = (word, words, values) => values.length > 1 ? values.length + " " + words + ": " + values.slice(0, 5).join(", ") + (values.length > 5 ? " and others" : "")
    : values.length ? word + " " + values[0] : "";
  const first = times.length && minute(times[0]), last = times.length && minute(times[times.length - 1]);
  const until = last && (last.slice(0, 10) === first.slice(0, 10) ? last.slice(11) : last);
  return [said("folder", "folders", folders), first && "traced " + first + (last > first ? " to " + until : "") + " UTC",
    said("ztrace", "versions of ztrace", different("version")), said("settings", "settings", different("settings"))].filter(Boolean).join("; ");
}
function fill(id, values) { $(id).append(...[...new Set(values)].filter(Boolean).sort().map(value => element("option", { value }, value))); }
$("about").textContent = about();
fill("outcome", rows.map(row => row.outcome));
fill("flag", rows.flatMap(row => row.flags));
fill("preset", rows.map(row => row.preset));
orders.forEach(([, , label], i) => $("order").append(element("option", { value: i }, label)));
$("order").append(element("option", { value: "column", hidden: true }));
$("controls").addEventListener("submit", event => event.preventDefault());
for (const id of ["search", "outcome", "flag", "preset"]) $(id).addEventListener("input", update);
$("order").addEventListener("input", () => {
  if ($("order").value === "column") return;
  [sortBy, sortWay] = orders[$("order").value];
  update();
});
for (const id of ["split", "split2"]) $(id).addEventListener("input", event => split(event.target.value));
$("asTable").addEventListener("click", () => show(true));
$("asGallery").addEventListener("click", () => show(false));
function turn(lines) {
  if (line + lines < 0 || line + lines >= shown.length) return;
  line += lines;
  drawTable();
}
$("back").addEventListener("click", () => turn(-kLines));
$("next").addEventListener("click", () => turn(kLines));
$("before").addEventListener("click", () => view(current - 1));
$("after").addEventListener("click", () => view(current + 1));
$("in").addEventListener("click", () => zoom(1));
$("out").addEventListener("click", () => zoom(-1));
$("fit").addEventListener("click", () => zoom(0));
$("close").addEventListener("click", () => $("viewer").close());
// Where the viewer has gone to is where the list goes on.
$("viewer").addEventListener("close", () => {
  if ($("gallery").hidden) {
    line = current - current % kLines;
    drawTable();
    $("rowsOf").children[current - line].querySelector("button").focus();
  } else {
    drawUpTo(current + 1);
    $("gallery").children[current].focus();
  }
});
$("viewer").addEventListener("keydown", event => {
  if (event.target.type === "range") return;
  const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
  if (steps && event.shiftKey) {
    event.preventDefault();
    move(...steps.map(step => step * kMoved));
    return;
  }
  const keys = { ArrowLeft: () => view(current - 1), ArrowRight: () => view(current + 1), "+": () => zoom(1), "-": () => zoom(-1), 0: () => zoom(0) };
  if (keys[event.key]) { event.preventDefault(); keys[event.key](); }
});
$("stage").addEventListener("wheel", event => { event.preventDefault(); zoom(event.deltaY < 0 ? 1 : -1); }, { passive: false });
$("stage").addEventListener("pointerdown", hold);
$("stage").addEventListener("pointermove", drag);
for (const end of ["pointerup", "pointercancel"]) $("stage").addEventListener(end, letGo);
$("all").addEventListener("click", () => {
  for (const id of ["search", "outcome", "flag", "preset"]) $(id).value = "";
  update();
  $("search").focus();
});
addEventListener("resize", () => { room = null; if ($("viewer").open) stage(); });
addEventListener("beforeprint", drawForPaper);
addEventListener("afterprint", drawTable);
update();
