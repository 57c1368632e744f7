'use strict';
(() => {
  const data = JSON.parse(document.getElementById('data').textContent);
  const $ = (id) => document.getElementById(id);
  const format = new Intl.NumberFormat('en');
  const number = (n) => format.format(n);
  const total = Math.max(1, data.total.clauses);
  const percent = (n) => (100 * n / total).toFixed(1) + ' %';

  // Text always goes in as text: names of the script may look like anything.
  function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
      if (name === 'class') element.className = value;
      else if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
      else element.setAttribute(name, value);
    }
    element.append(...children);
    return element;
  }

  // ---- the tree: one item for everything, assertions below it, terms below these ----

  const top = {kind: 'top', label: 'all', clauses: data.total.clauses, own: 0, children: [], parent: null, lengths: data.total.lengths};
  const roots = data.roots.map((r, i) => ({
    kind: 'root', index: i, line: r.line, clauses: r.clauses, own: r.unit, children: [], parent: top, text: r.text,
    label: (r.line === null ? 'value of ' + r.name : 'line ' + r.line + (r.name ? ' ' + r.name : '')),
    terms: r.terms, cumulative: r.cumulative, name: r.name, variables: r.variables, literals: r.literals, lengths: r.lengths,
  }));
  const nodes = data.nodes.map((n, i) => ({
    kind: 'term', index: i, id: n[0], operator: data.names[n[1]], width: n[2], root: roots[n[3]], own: n[5], clauses: n[6],
    cumulative: n[7], variables: n[8], literals: n[9], uses: n[10], text: n[11], lengths: n[12], line: roots[n[3]].line,
    children: [], users: [], args: [], up: n[4], argIndices: n[13],
    label: data.names[n[1]] + ' ' + n[2],
  }));
  for (const r of roots) top.children.push(r);
  for (const n of nodes) {
    n.parent = n.up < 0 ? n.root : nodes[n.up];
    n.parent.children.push(n);
    n.args = n.argIndices.map((i) => nodes[i]);
    for (const a of n.args) a.users.push(n);
  }
  const byClauses = (a, b) => b.clauses - a.clauses;
  function addRest(item, label) {
    const rest = item.clauses - item.own - item.children.reduce((sum, c) => sum + c.clauses, 0);
    item.children.sort(byClauses);
    if (rest > 0) item.children.push({kind: 'rest', label, clauses: rest, own: rest, children: [], parent: item});
  }
  for (const n of nodes) addRest(n, 'smaller terms');
  for (const r of roots) addRest(r, 'smaller terms');
  addRest(top, data.more_roots === 0 ? 'others' : number(data.more_roots) + ' more assertions');

  // ---- what is selected, in all views ----

  let selected = null;
  let zoom = top;
  function select(item, from) {
    if (item === null || item.kind === 'rest' || item.kind === 'group') return;
    selected = item;
    if (from !== 'tree') showInTree(item);
    drawTree();
    drawDetail();
    markScript(from !== 'script');
    if (item.kind === 'term' && tab !== 'terms') setTab('terms', false);
    if (item.kind === 'root' && tab !== 'assertions') setTab('assertions', false);
    drawTable(from !== 'table');
    drawLengths();
  }

  // ---- icicle ----

  const tree = $('tree');
  const height = 25;
  const mostLevels = 14;
  const least = 8;  // pixels
  let drawn = [];

  function contains(outer, item) {
    for (let i = item; i !== null; i = i.parent) if (i === outer) return true;
    return false;
  }
  function depthBelow(outer, item) {
    let depth = 0;
    for (let i = item; i !== outer; i = i.parent) ++depth;
    return depth;
  }
  // Zooms so that the item can be seen.
  function showInTree(item) {
    if (!contains(zoom, item)) zoom = top;
    const wide = (i) => tree.clientWidth * i.clauses / Math.max(1, zoom.clauses) >= 24;
    if (wide(item) && depthBelow(zoom, item) < mostLevels) return;
    zoom = item;
    while (zoom.parent !== null && zoom.parent.clauses < 20 * Math.max(1, item.clauses) && depthBelow(zoom, item) < 4)
      zoom = zoom.parent;
  }
  // The children of an item as they are drawn: those too thin to be seen are put together, in boxes to zoom into.
  function visible(item, scale) {
    const thin = item.children.filter((c) => c.kind !== 'rest' && c !== selected && c.clauses * scale < least);
    if (thin.length < 2) return item.children;
    const clauses = (list) => list.reduce((sum, c) => sum + c.clauses, 0);
    const boxes = Math.max(1, Math.min(12, Math.floor(clauses(thin) * scale / 60)));
    const each = Math.ceil(thin.length / boxes);
    const groups = [];
    for (let i = 0; i < thin.length; i += each) {
      const part = thin.slice(i, i + each);
      groups.push(part.length === 1 ? part[0] : {kind: 'group', label: number(part.length) + ' smaller', clauses: clauses(part),
        own: 0, children: part, parent: item});
    }
    const rest = item.children.filter((c) => c.kind === 'rest');
    return [...item.children.filter((c) => c.kind !== 'rest' && !thin.includes(c)), ...groups, ...rest];
  }
  function drawTree() {
    drawn = [];
    const width = tree.clientWidth;
    const scale = width / Math.max(1, zoom.clauses);
    let levels = 0;
    const fragment = document.createDocumentFragment();
    const stack = [[zoom, 0, 0]];
    while (stack.length > 0) {
      const [item, x, level] = stack.pop();
      const w = item === zoom ? width : item.clauses * scale;
      if (w < 3 && item !== selected) continue;
      levels = Math.max(levels, level + 1);
      const shared = item.kind === 'term' && item.uses > 1;
      const name = (shared ? '\u21C4 ' : '') + item.label;
      const element = make('div', {
        class: 'node ' + item.kind + (shared ? ' shared' : '') + (item === selected ? ' selected' : ''),
        style: `left:${x}px;top:${level * height}px;width:${Math.max(3, w)}px`,
        role: 'treeitem', 'aria-level': level + 1, 'aria-selected': item === selected,
        'aria-label': `${item.label}: ${number(item.clauses)} clauses, ${percent(item.clauses)}${shared ? ', shared' : ''}`,
        title: `${item.label}: ${number(item.clauses)} clauses, ${percent(item.clauses)}` +
            (item.kind === 'term' ? `, ${number(item.own)} own${shared ? `, ${item.uses} uses` : ''}\n${item.text}` : ''),
      }, w > 30 ? name + (w > 150 ? ': ' + number(item.clauses) : '') : '');
      element.id = 'node' + drawn.length;
      if (item === selected) tree.setAttribute('aria-activedescendant', element.id);
      drawn.push({item, element});
      fragment.append(element);
      if (level + 1 >= mostLevels || (item.kind === 'group' && item !== zoom)) continue;
      let at = x;
      const children = [];
      for (const c of visible(item, scale)) {
        children.push([c, at, level + 1]);
        at += c.clauses * scale;
      }
      stack.push(...children.reverse());
    }
    if (selected === null) tree.removeAttribute('aria-activedescendant');
    tree.replaceChildren(fragment);
    tree.style.height = levels * height + 2 + 'px';
    drawCrumbs();
  }
  function drawCrumbs() {
    const path = [];
    for (let i = zoom; i !== null; i = i.parent) path.unshift(i);
    $('crumbs').replaceChildren(...path.map((i) => make('button', {
      type: 'button', onclick: () => { zoom = i; drawTree(); },
      ...(i === zoom ? {'aria-current': 'true'} : {}),
    }, i.label)));
  }
  tree.addEventListener('click', (event) => {
    const found = drawn.find((d) => d.element === event.target);
    if (found === undefined) return;
    if (found.item === top || found.item.kind === 'group') { zoom = found.item === zoom ? zoom.parent ?? top : found.item; drawTree(); } else select(found.item, 'tree');
  });
  tree.addEventListener('dblclick', (event) => {
    const found = drawn.find((d) => d.element === event.target);
    if (found !== undefined && found.item.kind !== 'rest') { zoom = found.item; drawTree(); }
  });
  tree.addEventListener('keydown', (event) => {
    const siblings = (item) => item.parent.children.filter((c) => c.kind !== 'rest');
    let next = null;
    const item = selected !== null && (contains(zoom, selected) || zoom.children.includes(selected)) ? selected : null;
    switch (event.key) {
      case 'ArrowDown': next = (item ?? zoom).children.find((c) => c.kind !== 'rest') ?? null; break;
      case 'ArrowUp': next = item !== null && item.parent !== top && item.parent !== null ? item.parent : null; break;
      case 'ArrowLeft':
      case 'ArrowRight': {
        if (item === null) { next = zoom.children[0] ?? null; break; }
        const list = siblings(item);
        next = list[list.indexOf(item) + (event.key === 'ArrowRight' ? 1 : -1)] ?? null;
        break;
      }
      case 'Home': next = top.children.find((c) => c.kind === 'root') ?? null; zoom = top; break;
      case 'Enter': if (item !== null) zoom = item; drawTree(); break;
      case 'Escape': zoom = zoom.parent ?? top; drawTree(); break;
      default: return;
    }
    event.preventDefault();
    if (next !== null) select(next);
  });

  // ---- detail ----

  function link(item) {
    return make('button', {type: 'button', class: 'code', onclick: () => select(item)},
        item.kind === 'term' ? '#' + item.id + ' ' + item.text : item.label);
  }
  function drawDetail() {
    const item = selected;
    const rows = [];
    const add = (name, ...value) => rows.push(make('dt', {}, name), make('dd', {}, ...value));
    if (item.kind === 'term') {
      add('Term', make('code', {}, '#' + item.id + ' ' + item.text));
      add('Operator', item.operator + ', width ' + item.width);
      add('Clauses', `${number(item.own)} own (${percent(item.own)}), ${number(item.cumulative)} with all below`);
      add('Variables', number(item.variables));
      add('Literals', number(item.literals));
      add('Uses', item.uses > 1 ? '\u21C4 ' + number(item.uses) : number(item.uses));
      add('Assertion', link(item.root));
      if (item.users.length > 0) add('Used by', ...item.users.slice(0, 12).map(link));
      if (item.args.length > 0) add('Arguments', ...item.args.map(link));
    } else {
      add('Assertion', item.label);
      add('Formula', make('code', {}, item.text));
      add('Clauses', `${number(item.clauses)} first needed here (${percent(item.clauses)}), ${number(item.cumulative)} with those shared`);
      add('Terms', number(item.terms));
    }
    $('detail').replaceChildren(make('dl', {}, ...rows));
  }

  // ---- script ----

  const script = $('script');
  const lines = new Map();
  const rootOfLine = new Map();
  for (const r of roots) if (r.line !== null && !rootOfLine.has(r.line)) rootOfLine.set(r.line, r);
  const hottest = data.script.reduce((most, l) => Math.max(most, l[2] ?? 0), 1);
  for (const [n, text, clauses] of data.script) {
    if (n === 0) {
      script.append(make('div', {class: 'row gap'}, make('span'), make('span'), make('span', {}, text)));
      continue;
    }
    const hot = clauses > 0 && rootOfLine.has(n);
    const row = make('div', {class: hot ? 'row hot' : 'row'},
        make('span', {class: 'n'}, String(n)),
        make('span', {class: 'heat', ...(clauses > 0 ? {title: percent(clauses)} : {})},
            ...(clauses > 0 ? [make('i', {style: `width:${100 * clauses / hottest}%`}), make('b', {}, number(clauses))] : [])),
        make('span', {class: 'src'}, text));
    if (hot) {
      row.tabIndex = 0;
      row.setAttribute('role', 'button');
      row.setAttribute('aria-label', `line ${n}, ${number(clauses)} clauses: ${text}`);
      const choose = () => select(rootOfLine.get(n), 'script');
      row.addEventListener('click', choose);
      row.addEventListener('keydown', (event) => {
        if (event.key !== 'Enter' && event.key !== ' ') return;
        event.preventDefault();
        choose();
      });
    }
    lines.set(n, row);
    script.append(row);
  }
  let marked = null;
  function markScript(scroll) {
    if (marked !== null) { marked.classList.remove('selected'); marked.removeAttribute('aria-current'); }
    marked = lines.get(selected.line) ?? null;
    if (marked === null) return;
    marked.classList.add('selected');
    marked.setAttribute('aria-current', 'true');
    if (scroll) script.scrollTop = marked.offsetTop - script.offsetTop - script.clientHeight / 3;
  }

  // ---- tables ----

  const count = (title, key) => ({title, key, numeric: true});
  const textual = (title, key) => ({title, key, numeric: false});
  const share = {title: 'Share', key: 'share', numeric: true, show: (r) => percent(r.share)};
  const size = (s) => s === null ? '?' : number(s);
  const tables = {
    terms: {
      title: 'Terms', sort: 'own', picks: true,
      rows: nodes.map((n) => ({item: n, id: n.id, operator: n.operator, width: n.width, line: n.line ?? 0, own: n.own, share: n.own,
        cumulative: n.cumulative, variables: n.variables, literals: n.literals, uses: n.uses, text: n.text,
        search: `#${n.id} ${n.operator} ${n.text}`.toLowerCase()})),
      columns: [textual('Operator', 'operator'), count('Width', 'width'), {...count('Line', 'line'), show: (r) => r.line || '-'},
        count('Clauses', 'own'), share, count('Cumulative', 'cumulative'), count('Variables', 'variables'), count('Literals', 'literals'),
        {...count('Uses', 'uses'), show: (r) => r.uses > 1 ? '\u21C4 ' + r.uses : r.uses},
        {...textual('Term', 'text'), show: (r) => '#' + r.id + ' ' + r.text}],
    },
    operators: {
      title: 'Operators', sort: 'clauses',
      rows: data.operators.map((o) => ({operator: o[0], width: o[1], terms: o[2], variables: o[3], clauses: o[4], literals: o[5],
        share: o[4], search: o[0].toLowerCase()})),
      columns: [textual('Operator', 'operator'), count('Width', 'width'), count('Terms', 'terms'), count('Clauses', 'clauses'), share,
        count('Variables', 'variables'), count('Literals', 'literals')],
    },
    assertions: {
      title: 'Assertions', sort: 'clauses', picks: true,
      rows: roots.map((r) => ({item: r, line: r.line ?? 0, name: r.name, terms: r.terms, clauses: r.clauses, share: r.clauses,
        cumulative: r.cumulative, variables: r.variables, literals: r.literals, text: r.text,
        search: `${r.label} ${r.text}`.toLowerCase()})),
      columns: [{...count('Line', 'line'), show: (r) => r.line || '-'}, textual('Name', 'name'), count('Terms', 'terms'),
        count('Clauses', 'clauses'), share, count('With shared', 'cumulative'), count('Variables', 'variables'),
        count('Literals', 'literals'), textual('Formula', 'text')],
    },
    passes: {
      title: 'Passes', sort: null,
      rows: data.passes.map((p, i) => ({step: i + 1, name: p[0], replaced: p[1], ms: p[2], termsBefore: p[3], termsAfter: p[4],
        before: p[5], after: p[6], search: p[0]})),
      columns: [count('Step', 'step'), textual('Pass', 'name'), count('Replaced', 'replaced'),
        {...count('ms', 'ms'), show: (r) => r.ms.toFixed(1)}, count('Terms before', 'termsBefore'), count('after', 'termsAfter'),
        {...count('Clauses before', 'before'), show: (r) => size(r.before)}, {...count('after', 'after'), show: (r) => size(r.after)}],
    },
  };
  let tab = 'terms';
  let shown = 0;
  const pageSize = 100;
  const state = {};
  for (const [name, table] of Object.entries(tables)) state[name] = {key: table.sort, down: true};
  const tabs = $('tabs');
  for (const [name, table] of Object.entries(tables)) {
    tabs.append(make('button', {type: 'button', role: 'tab', id: 'tab-' + name, 'aria-controls': 'panel',
      onclick: () => { setTab(name, true); }}, `${table.title} (${number(table.rows.length)})`));
  }
  tabs.addEventListener('keydown', (event) => {
    const names = Object.keys(tables);
    const step = event.key === 'ArrowRight' ? 1 : event.key === 'ArrowLeft' ? -1 : 0;
    if (step === 0) return;
    event.preventDefault();
    setTab(names[(names.indexOf(tab) + step + names.length) % names.length], true);
    $('tab-' + tab).focus();
  });
  function setTab(name, draw) {
    tab = name;
    shown = pageSize;
    if (draw) drawTable(false);
  }
  function rowsNow() {
    const {key, down} = state[tab];
    const words = $('search').value.toLowerCase().split(/\s+/).filter((w) => w !== '');
    const rows = tables[tab].rows.filter((r) => words.every((w) => r.search.includes(w)));
    if (key === null) return rows;
    const column = tables[tab].columns.find((c) => c.key === key);
    const order = column.numeric ? (a, b) => (a[key] ?? -1) - (b[key] ?? -1) : (a, b) => a[key] < b[key] ? -1 : a[key] > b[key] ? 1 : 0;
    return rows.sort((a, b) => down ? order(b, a) : order(a, b));
  }
  function drawTable(scroll) {
    for (const name of Object.keys(tables)) {
      $('tab-' + name).setAttribute('aria-selected', String(name === tab));
      $('tab-' + name).tabIndex = name === tab ? 0 : -1;
    }
    $('panel').setAttribute('aria-labelledby', 'tab-' + tab);
    const {columns, picks} = tables[tab];
    const rows = rowsNow();
    const at = rows.findIndex((r) => r.item !== undefined && r.item === selected);
    if (scroll && at >= shown) shown = at + 20;
    $('found').textContent = $('search').value === '' ? '' : number(rows.length) + ' found';
    const head = make('tr', {}, ...columns.map((c) => {
      const now = state[tab].key === c.key;
      return make('th', {scope: 'col', class: c.numeric ? '' : 'text', ...(now ? {'aria-sort': state[tab].down ? 'descending' : 'ascending'} : {})},
          make('button', {type: 'button', onclick: () => {
            state[tab] = {key: c.key, down: now ? !state[tab].down : c.numeric};
            drawTable(false);
            $('table').querySelector('th[aria-sort] button').focus();
          }}, c.title + (now ? (state[tab].down ? ' \u25BC' : ' \u25B2') : '')));
    }));
    const body = make('tbody');
    for (const r of rows.slice(0, shown)) {
      const row = make('tr', {}, ...columns.map((c) => make('td', {class: c.numeric ? '' : 'text'},
          String(c.show ? c.show(r) : c.numeric ? number(r[c.key]) : r[c.key]))));
      if (picks) {
        row.classList.add('pick');
        row.tabIndex = 0;
        if (r.item === selected) { row.classList.add('selected'); row.setAttribute('aria-selected', 'true'); }
        row.addEventListener('click', () => select(r.item, 'table'));
        row.addEventListener('keydown', (event) => {
          const to = event.key === 'ArrowDown' ? row.nextElementSibling : event.key === 'ArrowUp' ? row.previousElementSibling : null;
          if (to !== null) to.focus();
          else if (event.key === 'Enter' || event.key === ' ') {
            select(r.item, 'table');
            $('table').querySelector('tr.selected')?.focus();
          } else return;
          event.preventDefault();
        });
      }
      body.append(row);
    }
    $('table').replaceChildren(make('thead', {}, head), body);
    $('more').hidden = rows.length <= shown;
    if (scroll) {
      const row = body.querySelector('.selected');
      if (row !== null) $('panel').scrollTop = row.offsetTop - $('panel').clientHeight / 3;
    }
  }
  $('search').addEventListener('input', () => { shown = pageSize; drawTable(false); });
  $('more').addEventListener('click', () => { shown += 5 * pageSize; drawTable(false); });

  // ---- histogram ----

  function drawLengths() {
    const most = Math.max(1, ...data.total.lengths);
    $('lengths').replaceChildren(...data.total.lengths.map((all, i) => {
      const some = selected === null ? 0 : selected.lengths[i] ?? 0;
      const last = i + 1 === data.total.lengths.length;
      return make('div', {class: 'length'}, make('span', {}, i + (last ? ' and more' : i === 1 ? ' literal' : ' literals')),
          make('div', {class: 'track'}, make('div', {class: 'all', style: `width:${100 * all / most}%`}),
              ...(some > 0 ? [make('div', {class: 'some', style: `width:${100 * some / most}%`})] : [])),
          make('span', {class: 'count'}, number(all) + (some > 0 ? `, ${number(some)} here` : '')));
    }));
  }

  // ---- first drawing ----

  $('title').textContent = 'Clauses of ' + data.input;
  document.title = 'Clauses of ' + data.input;
  $('totals').textContent = `Query ${data.query}, words ${data.words}: ${number(data.total.terms)} terms, ` +
      `${number(data.total.variables)} variables, ${number(data.total.clauses)} clauses, ${number(data.total.literals)} literals.` +
      (data.total.terms > nodes.length ? ` ${number(nodes.length)} terms are listed, the others are summed.` : '');
  setTab('terms', true);
  drawTree();
  drawLengths();
  addEventListener('resize', drawTree);
})();
