'use strict';
(() => {
  const data = JSON.parse(document.getElementById('data').textContent);
  const $ = (id) => document.getElementById(id);
  const values = new Array(data.last + 1).fill(false);
  for (const v of data.true) values[v] = true;

  const isTrue = (l) => l === 1 ? true : l === -1 ? false : l > 0 ? values[l] : !values[-l];
  const name = (l) => l === 1 ? 'T' : l === -1 ? 'F' : String(l);
  function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
    element.append(...children);
    return element;
  }

  // Each output has the value that satisfies its clauses.
  function run() {
    for (const cell of data.cells)
      for (const [, x] of cell.out)
        values[x] = cell.clauses.some((clause) => clause.includes(x) && clause.every((l) => l === x || !isTrue(l)));
  }
  function word(bits) {
    return bits.slice().reverse().map((l) => isTrue(l) ? '1' : '0').join('');
  }
  const svg = document.querySelector('#picture svg');
  const marks = new Map();  // from a node to the text of its value
  function mark(node, literals) {
    const text = literals.map((l) => isTrue(l) ? '1' : '0').join(' ');
    let value = marks.get(node);
    if (value === undefined) {
      const labels = node.querySelectorAll('text');
      value = labels[labels.length - 1].cloneNode(false);
      value.setAttribute('class', 'value');
      const box = node.getBBox();
      value.setAttribute('x', box.x + box.width + 3);
      value.setAttribute('y', box.y + 9);
      value.setAttribute('text-anchor', 'start');
      node.append(value);
      marks.set(node, value);
    }
    value.textContent = text;
    node.classList.toggle('on', literals.some(isTrue));
  }
  function show() {
    run();
    data.inputs.forEach((port, i) => port.bits.forEach((l, k) => mark($(`in_${i}_${k}`), [l])));
    data.result.bits.forEach((l, k) => mark($(`out_${k}`), [l]));
    data.cells.forEach((cell, i) => mark($('cell' + i), cell.out.map(([, x]) => x)));
    for (const edge of svg.querySelectorAll('.edge')) {
      const text = edge.querySelector('text');
      const literal = Number(text.textContent.trim().split(' ').pop());
      edge.classList.toggle('on', isTrue(literal));
    }
    const rows = [...data.inputs, data.result].map((port) => {
      const bits = word(port.bits);
      const unsigned = BigInt('0b' + (bits || '0'));
      return make('div', {}, port.name + ' = ', make('code', {}, '#b' + bits), ` = ${unsigned}`);
    });
    $('words').replaceChildren(...rows);
    if (picked !== null) describe(picked);
  }

  let picked = null;
  let kept = false;
  function describe(i) {
    const cell = data.cells[i];
    const pins = (list) => list.map(([role, l]) => `${role === 'x' ? '' : role + ' = '}${name(l)} (${isTrue(l) ? 1 : 0})`).join(', ');
    $('cell').replaceChildren(make('strong', {}, cell.kind), make('div', {}, 'in: ' + pins(cell.in)), make('div', {}, 'out: ' + pins(cell.out)),
        make('div', {}, `${cell.clauses.length} clauses:`),
        make('ol', {}, ...cell.clauses.map((c) => make('li', {}, c.map(name).join(' ')))));
  }
  function pick(i) {
    if (picked !== null) $('cell' + picked).classList.remove('picked');
    picked = i;
    $('cell' + i).classList.add('picked');
    describe(i);
  }
  function button(node, label, act) {
    node.setAttribute('tabindex', '0');
    node.setAttribute('role', 'button');
    node.setAttribute('aria-label', label);
    node.addEventListener('click', act);
    node.addEventListener('keydown', (event) => {
      if (event.key !== 'Enter' && event.key !== ' ') return;
      event.preventDefault();
      act();
    });
  }
  data.inputs.forEach((port, i) => port.bits.forEach((l, k) => {
    if (l === 1 || l === -1) return;
    button($(`in_${i}_${k}`), `${port.name} bit ${k}, literal ${l}`, () => {
      values[Math.abs(l)] = !values[Math.abs(l)];
      show();
    });
  }));
  data.cells.forEach((cell, i) => {
    const node = $('cell' + i);
    button(node, `${cell.kind}, literals ${cell.out.map(([, x]) => x).join(' and ')}`, () => { kept = true; pick(i); });
    node.addEventListener('mouseenter', () => { if (!kept) pick(i); });
    node.addEventListener('focus', () => pick(i));
  });
  $('picture').addEventListener('click', (event) => { if (event.target.closest('.node') === null) kept = false; });
  // Tooltips of the drawing repeat the labels.
  for (const title of svg.querySelectorAll('title')) title.remove();
  $('title').textContent = `${data.title}, width ${data.width}`;
  show();
})();
