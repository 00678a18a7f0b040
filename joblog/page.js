"use strict";
(() => {
  /* One JSON array a line. Only where lines begin, what they are and how deep they stand is found out
     at once; the rest is read when a line is shown. */
  const data = document.querySelector("script[type='application/json']").textContent;
  const kWindow = 50000; /* rows on one page of the list: browsers end at some million pixels */
  const kChunk = 100; /* rows that are made and dropped together */
  const kMostIndent = 24;
  const kMarks = {e: "Error", w: "Warning", r: "Recommendation", x: "Damaged", c: "Cut off"};
  const kClasses = {e: "error", w: "warning", r: "recommendation", x: "recommendation", c: "error", i: "info"};

  let count = 0;
  for (let at = data.indexOf("\n"); at >= 0; at = data.indexOf("\n", at + 1)) ++count;
  const starts = new Uint32Array(count + 1);
  const kinds = new Uint8Array(count);
  const parents = new Int32Array(count);
  const totals = {e: new Uint32Array(count), w: new Uint32Array(count), all: new Uint32Array(count)};
  const isGroup = (row) => kinds[row] === 71 || kinds[row] === 70 || kinds[row] === 83; /* G F S */
  const kindOf = (row) => String.fromCharCode(kinds[row]);
  const isLine = (row) => kinds[row] >= 97; /* lower case: no heading */

  /* In which group each row stands. */
  const depths = [];
  const open = [];
  for (let row = 0, at = 0; row < count; ++row) {
    starts[row] = at;
    kinds[row] = data.charCodeAt(at + 2);
    let depth = 0;
    let continued = false;
    for (let i = at + 3; ; ++i) {
      const code = data.charCodeAt(i);
      if (code < 48 || code > 57) {
        continued = code === 43;
        break;
      }
      depth = depth * 10 + code - 48;
    }
    /* Damage closes nothing. */
    while (kinds[row] !== 120 && open.length > 0 && depths[open.length - 1] >= depth) {
      open.pop();
      depths.pop();
    }
    parents[row] = open.length > 0 ? open[open.length - 1] : -1;
    if (isGroup(row)) {
      open.push(row);
      depths.push(depth);
    } else if (!continued && parents[row] >= 0) {
      ++totals.all[parents[row]];
      if (kinds[row] === 101) ++totals.e[parents[row]];
      if (kinds[row] === 119) ++totals.w[parents[row]];
    }
    at = data.indexOf("\n", at) + 1;
    starts[row + 1] = at;
  }
  for (let row = count - 1; row >= 0; --row) {
    if (!isGroup(row) || parents[row] < 0) continue;
    for (const total of Object.values(totals)) total[parents[row]] += total[row];
  }
  let lineCount = 0;
  for (let row = 0; row < count; ++row) lineCount += isLine(row);

  const hasProblem = (row) => totals.e[row] > 0 || totals.w[row] > 0;
  /* What is open without a search, and what is while one lasts. */
  const openUsually = new Uint8Array(count);
  for (let row = 0; row < count; ++row) {
    openUsually[row] = hasProblem(row) || kinds[row] === 71 ? 1 : 0;
  }
  let openFound = null;

  const form = document.querySelector("form");
  const search = form.querySelector("input[type=search]");
  const result = form.querySelector("output");
  const boxes = [...form.querySelectorAll("input[type=checkbox]")];
  const list = document.querySelector(".log");
  const nav = document.querySelector("nav");
  const number = (value) => value.toLocaleString("en");

  /* Of the same length as the text, which makes places in one places in the other. */
  const fold = (text) => text.replaceAll("\u0130", "i").toLowerCase();
  let folded = null;

  function fieldsOf(row) {
    return JSON.parse(data.slice(starts[row], starts[row + 1]));
  }

  /* Which rows hold the words. They are looked for in the data as it is written; where the place may
     be an escape or a comma between two texts, the row is read. */
  function find(words) {
    const found = new Uint8Array(count);
    folded ??= fold(data);
    const needle = fold(JSON.stringify(words).slice(1, -1).replaceAll("<", "\\u003c"));
    const isDoubtful = /[",]/.test(words);
    let row = 0;
    for (let at = folded.indexOf(needle); at >= 0;) {
      while (starts[row + 1] <= at) ++row;
      const begin = data.indexOf("\"", starts[row] + 2);
      let isFound = at > begin;
      if (isFound && (isDoubtful || "\\u03".includes(data[at - 1]))) {
        isFound = fieldsOf(row).slice(1).some((text) => fold(text).includes(words));
      }
      if (isFound) found[row] = 1;
      at = folded.indexOf(needle, isFound || at > begin && isDoubtful ? starts[row + 1] : at + 1);
    }
    return found;
  }

  let shown = new Uint32Array(0); /* the rows that are on the list, from the first to the last page */
  let from = 0; /* of them, the first one on this page */
  let found = null;

  function choose() {
    const kindsShown = new Set(boxes.filter((box) => box.checked).flatMap((box) => [...box.value]).map((kind) => kind.charCodeAt(0)));
    const isFiltered = found !== null || boxes.some((box) => !box.checked);
    const opened = openFound ?? openUsually;
    const isWanted = new Uint8Array(count);
    /* A match in the name of a set or folder shows all that is in it. */
    const isNamed = new Uint8Array(count);
    let lines = 0;
    for (let row = 0; row < count; ++row) {
      const isInNamed = parents[row] >= 0 && isNamed[parents[row]];
      const matches = found === null || found[row] || isInNamed;
      if (isGroup(row)) {
        isNamed[row] = found !== null && matches ? 1 : 0;
        isWanted[row] = !isFiltered || isNamed[row] ? 1 : 0;
      } else if (!isLine(row)) {
        isWanted[row] = 1;
      } else if (matches && (kindsShown.has(kinds[row]) || !"ecwrxi".includes(kindOf(row)))) {
        isWanted[row] = 1;
        ++lines;
      }
    }
    for (let row = count - 1; row >= 0; --row) {
      if (isWanted[row] && isFiltered && parents[row] >= 0 && (isLine(row) || isGroup(row))) isWanted[parents[row]] = 1;
    }
    const isShut = new Uint8Array(count);
    const rows = new Uint32Array(count);
    let length = 0;
    for (let row = 0; row < count; ++row) {
      const parent = parents[row];
      isShut[row] = parent >= 0 && (isShut[parent] || !opened[parent]) ? 1 : 0;
      if (isWanted[row] && !isShut[row]) rows[length++] = row;
    }
    shown = rows.subarray(0, length);
    result.textContent = `${number(lines)} of ${number(lineCount)} lines` + (isFiltered ? " found" : "");
  }

  function make(name, text, kind) {
    const element = document.createElement(name);
    element.textContent = text;
    if (kind) element.className = kind;
    return element;
  }

  function makeGroup(row, fields) {
    const opened = openFound ?? openUsually;
    const element = make("button", "", kinds[row] === 70 ? "group folder" : "group");
    element.type = "button";
    element.setAttribute("aria-expanded", opened[row] ? "true" : "false");
    element.append(make("span", fields[1] + (fields[0].endsWith("~") ? " (cut off)" : "")));
    const tag = (total, what, kind) => {
      if (total > 0) element.append(" ", make("span", `${number(total)} ${what}${total === 1 ? "" : "s"}`, "tag " + kind));
    };
    tag(totals.e[row], "error", "error");
    tag(totals.w[row], "warning", "warning");
    if (!hasProblem(row)) element.append(" ", make("span", number(totals.all[row]) + (totals.all[row] === 1 ? " entry" : " entries"), "tag"));
    return element;
  }

  function makeLine(row, [tag, text = "", code = "", note = "", label = ""]) {
    const kind = kindOf(row);
    const element = make("p", "", "entry " + kClasses[kind]);
    const isContinued = tag.includes("+");
    if (kMarks[kind]) element.append(make("b", kMarks[kind] + (isContinued ? " (continued)" : "")), " ");
    if (kind === "x" || kind === "c") {
      element.append(make("i", "at " + note), " ");
      note = "";
    }
    if (code) element.append(make("code", code), " ");
    if (label) element.append(make("i", label + (text ? ":" : "")), " ");
    element.append(make("span", text));
    if (note) element.append(" ", make("i", note));
    if (tag.includes("~")) element.append(" ", make("i", "(cut off)"));
    return element;
  }

  function makeRow(row) {
    const fields = fieldsOf(row);
    let element;
    if (isGroup(row)) {
      element = makeGroup(row, fields);
    } else if (isLine(row)) {
      element = makeLine(row, fields);
    } else {
      element = make("h2", fields[1] + (fields[3] ? `: ${fields[3]}` : ""));
      element.append(make("small", fields[2] ?? ""));
    }
    element.dataset.row = row;
    element.style.setProperty("--depth", Math.min(parseInt(fields[0].slice(1), 10), kMostIndent));
    return element;
  }

  /* A chunk that is far from the window is an empty box of its height. */
  let chunks = [];
  function fill(chunk) {
    if (chunk.isFilled) return;
    chunk.isFilled = true;
    for (let i = chunk.first; i < chunk.last; ++i) chunk.element.append(makeRow(shown[i]));
    chunk.element.style.height = "";
  }
  const observer = new IntersectionObserver((entries) => {
    for (const entry of entries) {
      const chunk = chunks[entry.target.dataset.chunk];
      if (!chunk || chunk.element !== entry.target) continue;
      if (entry.isIntersecting) {
        fill(chunk);
      } else if (chunk.isFilled && !chunk.element.contains(document.activeElement)) {
        chunk.element.style.height = `${chunk.element.offsetHeight}px`;
        chunk.element.replaceChildren();
        chunk.isFilled = false;
      }
    }
  }, {rootMargin: "1500px 0px"});

  function draw() {
    observer.disconnect();
    const end = Math.min(from + kWindow, shown.length);
    chunks = [];
    for (let first = from; first < end; first += kChunk) {
      const element = document.createElement("div");
      const last = Math.min(first + kChunk, end);
      element.dataset.chunk = chunks.length;
      element.style.height = `${(last - first) * 1.8}rem`;
      chunks.push({element, first, last, isFilled: false});
    }
    list.replaceChildren(...chunks.map((chunk) => chunk.element));
    if (shown.length === 0) list.append(make("p", "Nothing in the log fits.", "entry info"));
    if (chunks.length > 0) fill(chunks[0]);
    for (const chunk of chunks) observer.observe(chunk.element);
    nav.hidden = shown.length <= kWindow;
    nav.querySelector("span").textContent = `Lines ${number(from + 1)} to ${number(end)} of ${number(shown.length)}`;
    nav.querySelector("[data-step='-1']").disabled = from === 0;
    nav.querySelector("[data-step='1']").disabled = end === shown.length;
  }

  function apply() {
    const words = fold(search.value.trim());
    found = words === "" ? null : find(words);
    openFound = found === null ? null : new Uint8Array(count).fill(1);
    from = 0;
    choose();
    draw();
  }

  function toggle(element) {
    const row = Number(element.dataset.row);
    const top = element.getBoundingClientRect().top;
    const opened = openFound ?? openUsually;
    opened[row] = opened[row] ? 0 : 1;
    choose();
    draw();
    /* The row stays where it was on the screen. */
    const chunk = chunks.find((one) => shown[one.last - 1] >= row);
    fill(chunk);
    const again = chunk.element.querySelector(`[data-row="${row}"]`);
    scrollBy(0, again.getBoundingClientRect().top - top);
    again.focus({preventScroll: true});
  }

  let timer = 0;
  search.addEventListener("input", () => {
    clearTimeout(timer);
    timer = setTimeout(apply, 150);
  });
  form.addEventListener("change", (event) => {
    if (event.target !== search) apply();
  });
  form.addEventListener("submit", (event) => event.preventDefault());
  document.addEventListener("click", (event) => {
    const button = event.target.closest("button");
    if (!button) return;
    if (button.classList.contains("group")) toggle(button);
    if (button.dataset.open) {
      (openFound ?? openUsually).fill(Number(button.dataset.open));
      from = 0;
      choose();
      draw();
    }
    if (button.dataset.step) {
      from += Number(button.dataset.step) * kWindow;
      draw();
      list.scrollIntoView();
    }
    if (button.dataset.words) {
      search.value = button.dataset.words;
      apply();
      form.scrollIntoView();
    }
  });
  document.addEventListener("keydown", (event) => {
    if (event.key !== "/" || event.target === search) return;
    event.preventDefault();
    search.focus();
  });
  /* Paper shows the page of the list as it is opened. */
  addEventListener("beforeprint", () => chunks.forEach(fill));

  document.body.classList.add("scripted");
  apply();
})();
