"use strict";
(() => {
  const form = document.querySelector("form");
  const search = form.querySelector("input[type=search]");
  const result = form.querySelector("output");
  const boxes = [...form.querySelectorAll("input[type=checkbox]")];
  const entries = [...document.querySelectorAll("p.entry")];
  const groups = [...document.querySelectorAll("details")];
  /* Read once: the text of a page does not change, and asking twenty thousand elements takes time. */
  const texts = entries.map((entry) => entry.textContent.toLowerCase());
  const kinds = entries.map((entry) => entry.dataset.kind);
  const names = new Map(groups.map((group) =>
    [group, group.firstElementChild.firstElementChild.textContent.toLowerCase()]));
  let openedBySearch = [];

  /* A match in the name of a set or folder shows all that is in it. */
  function isNamed(element, words, known) {
    const group = element.parentElement.closest("details");
    if (!group) return false;
    if (!known.has(group)) known.set(group, names.get(group).includes(words) || isNamed(group, words, known));
    return known.get(group);
  }

  function apply() {
    const words = search.value.trim().toLowerCase();
    const shown = new Set(boxes.filter((box) => box.checked).map((box) => box.value));
    const filters = words !== "" || shown.size < boxes.length;
    const known = new Map();
    const used = new Set();
    let count = 0;
    entries.forEach((entry, i) => {
      const visible = shown.has(kinds[i]) &&
        (words === "" || texts[i].includes(words) || isNamed(entry, words, known));
      entry.hidden = !visible;
      if (!visible) return;
      ++count;
      for (let group = entry.parentElement.closest("details"); group && !used.has(group);
        group = group.parentElement.closest("details")) used.add(group);
    });
    for (const group of openedBySearch) group.open = false;
    openedBySearch = [];
    for (const group of groups) {
      group.hidden = filters && !used.has(group);
      if (words === "" || group.hidden || group.open) continue;
      group.open = true;
      openedBySearch.push(group);
    }
    result.textContent = `${count.toLocaleString("en")} of ${entries.length.toLocaleString("en")} lines shown`;
  }

  let timer = 0;
  search.addEventListener("input", () => {
    clearTimeout(timer);
    timer = setTimeout(apply, 150);
  });
  form.addEventListener("change", apply);
  form.addEventListener("submit", (event) => event.preventDefault());
  form.addEventListener("click", (event) => {
    if (!event.target.dataset.open) return;
    openedBySearch = [];
    for (const group of groups) group.open = event.target.dataset.open === "all";
  });
  document.addEventListener("keydown", (event) => {
    if (event.key !== "/" || event.target === search) return;
    event.preventDefault();
    search.focus();
  });

  /* Paper has no triangles to click. */
  let closed = [];
  addEventListener("beforeprint", () => {
    closed = groups.filter((group) => !group.open);
    for (const group of closed) group.open = true;
  });
  addEventListener("afterprint", () => {
    for (const group of closed) group.open = false;
  });

  document.body.classList.add("scripted");
  apply();
})();
