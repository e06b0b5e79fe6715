// The client script library in headless Chromium: element access with
// getElement, text replacement with setContent, attribute access, loading a
// script file, and dragging an element with the mouse.
//
// The page and the script are written to a fresh temporary folder and opened
// from a file:// URL; the browser gets its own fresh profile folder. Both
// folders are removed at the end, and the whole run is bounded by a timer.
// Usage: node dhtml_browser_test.js <program that prints the script>
'use strict';

const { execFileSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { chromium } = require('playwright-core');

const kOverallLimitMs = 60000;
const kChromiumArgs = [
  '--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
  '--disable-component-update', '--disable-sync',
];

const kPage = `<!DOCTYPE html>
<html><head><title>client library</title><script src="dhtml.js"></script></head>
<body style="margin:0">
<p id="first">one</p><p id="second">two</p>
<input name="field" value="v">
<div id="nested"><span>inner</span></div>
<div id="empty"></div>
<div id="box" style="left:10px;top:20px;width:50px;height:40px;background:#c00;position:absolute"
     onmousedown="tovik_start_drag(this)">box</div>
</body></html>
`;

const kLoadedScriptA = 'var tovik_loaded_a = true;\n';
const kLoadedScriptB = 'var tovik_loaded_b = true;\n';

const results = [];
function check(name, ok, detail) {
  results.push({ name, ok: !!ok });
  console.log(`${ok ? 'ok' : 'FAILED'} - ${name}${ok ? '' : ' (' + JSON.stringify(detail) + ')'}`);
}

function writePage(dir, script) {
  fs.writeFileSync(path.join(dir, 'dhtml.js'), script);
  fs.writeFileSync(path.join(dir, 'page.html'), kPage);
  fs.writeFileSync(path.join(dir, 'a.js'), kLoadedScriptA);
  fs.writeFileSync(path.join(dir, 'b.js'), kLoadedScriptB);
}

async function testMarks(page) {
  const marks = await page.evaluate(() => [DHTML, DOM, MSIE4, NS4]);
  check('DHTML and DOM are set, MSIE4 and NS4 are not', JSON.stringify(marks) === '[true,true,false,false]', marks);
}

async function testGetElement(page) {
  const r = await page.evaluate(() => ({
    byId: getElement('id', 'second', 0).textContent,
    byUpperMode: getElement('ID', 'first', 0).id,
    byTag: getElement('tagname', 'p', 1).id,
    byName: getElement('name', 'field', 0).value,
    missingId: getElement('id', 'nothing', 0),
    missingIndex: getElement('tagname', 'p', 5),
    unknownMode: getElement('class', 'x', 0),
  }));
  check('getElement by id', r.byId === 'two', r);
  check('getElement takes the mode in any case', r.byUpperMode === 'first', r);
  check('getElement by tag name and number', r.byTag === 'second', r);
  check('getElement by name', r.byName === 'v', r);
  check('getElement of a missing id is false', r.missingId === false, r);
  check('getElement past the last element is false', r.missingIndex === false, r);
  check('getElement with an unknown mode is false', r.unknownMode === false, r);
}

async function testContent(page) {
  const r = await page.evaluate(() => {
    const set = setContent('id', 'first', 0, 'changed');
    const setEmpty = setContent('id', 'empty', 0, 'filled');
    return {
      set,
      text: document.getElementById('first').textContent,
      read: getContent('id', 'first', 0),
      filled: document.getElementById('empty').textContent,
      setEmpty,
      notText: getContent('id', 'nested', 0),
      missing: setContent('id', 'nothing', 0, 'x'),
    };
  });
  check('setContent replaces the text of the element', r.set === true && r.text === 'changed', r);
  check('getContent reads the replaced text', r.read === 'changed', r);
  check('setContent fills an element without children', r.setEmpty === true && r.filled === 'filled', r);
  check('getContent of an element whose first child is no text is empty', r.notText === '', r);
  check('setContent of a missing element is false', r.missing === false, r);
}

async function testAttributes(page) {
  const r = await page.evaluate(() => {
    const before = getAttribute('id', 'second', 0, 'title');
    const set = setAttribute('id', 'second', 0, 'title', 'tip');
    return { before, set, after: getAttribute('id', 'second', 0, 'title') };
  });
  check('getAttribute of a missing attribute is false', r.before === false, r);
  check('setAttribute sets and getAttribute reads it', r.set === true && r.after === 'tip', r);
}

async function testLoadJavaScript(page) {
  await page.evaluate(() => LoadJavaScript('a.js'));
  await page.waitForFunction(() => typeof tovik_loaded_a !== 'undefined', null, { timeout: 10000 });
  await page.evaluate(() => LoadJavaScript('b.js'));
  await page.waitForFunction(() => typeof tovik_loaded_b !== 'undefined', null, { timeout: 10000 });
  const r = await page.evaluate(() => {
    const scripts = Array.from(document.head.getElementsByTagName('script'));
    return {
      sources: scripts.map((s) => s.getAttribute('src')),
      type: scripts[scripts.length - 1].type,
    };
  });
  check('LoadJavaScript removes the former script and adds the new one to the head',
        JSON.stringify(r.sources) === '["dhtml.js","b.js"]' && r.type === 'text/javascript', r);
}

async function boxPosition(page) {
  return page.evaluate(() => {
    const b = document.getElementById('box');
    return { left: b.offsetLeft, top: b.offsetTop, position: b.style.position };
  });
}

async function testDrag(page) {
  const start = await boxPosition(page);
  await page.mouse.move(start.left + 25, start.top + 20);
  await page.mouse.down();
  await page.mouse.move(start.left + 25 + 120, start.top + 20 + 80, { steps: 8 });
  await page.mouse.up();
  const moved = await boxPosition(page);
  check('dragging with the mouse moves the element by the pointer distance',
        moved.left === start.left + 120 && moved.top === start.top + 80, { start, moved });
  check('a dragged element is positioned absolute', moved.position === 'absolute', moved);
  const styles = await page.evaluate(() => {
    const s = document.getElementById('box').style;
    return [s.left, s.top];
  });
  check('the element is moved with left and top in px',
        styles[0] === `${start.left + 120}px` && styles[1] === `${start.top + 80}px`, styles);
  await page.mouse.move(300, 300, { steps: 4 });
  const after = await boxPosition(page);
  check('after the button is released the element stays', after.left === moved.left && after.top === moved.top,
        { moved, after });
}

async function run(scriptProgram) {
  const script = execFileSync(scriptProgram, { encoding: 'utf8' });
  const pageDir = fs.mkdtempSync(path.join(os.tmpdir(), 'tovik-dhtml-page-'));
  const profileDir = fs.mkdtempSync(path.join(os.tmpdir(), 'tovik-dhtml-profile-'));
  let context = null;
  try {
    writePage(pageDir, script);
    // A persistent context is how a fresh profile folder of our own is given.
    context = await chromium.launchPersistentContext(profileDir, {
      executablePath: '/usr/bin/chromium', headless: true, args: kChromiumArgs,
    });
    const page = await context.newPage();
    page.setDefaultTimeout(10000);
    const errors = [];
    page.on('pageerror', (e) => errors.push(String(e)));
    await page.goto('file://' + path.join(pageDir, 'page.html'));
    await testMarks(page);
    await testGetElement(page);
    await testContent(page);
    await testAttributes(page);
    await testLoadJavaScript(page);
    await testDrag(page);
    check('the page ran without script errors', errors.length === 0, errors);
  } finally {
    if (context) await context.close();
    fs.rmSync(pageDir, { recursive: true, force: true });
    fs.rmSync(profileDir, { recursive: true, force: true });
  }
}

const limit = setTimeout(() => {
  console.log('FAILED - the browser test did not end within ' + kOverallLimitMs + ' ms');
  process.exit(1);
}, kOverallLimitMs);

run(process.argv[2])
  .then(() => {
    clearTimeout(limit);
    const failed = results.filter((r) => !r.ok).length;
    console.log(`${results.length - failed} of ${results.length} checks passed`);
    process.exit(failed === 0 && results.length > 0 ? 0 : 1);
  })
  .catch((e) => {
    clearTimeout(limit);
    console.log('FAILED - ' + (e && e.stack ? e.stack : e));
    process.exit(1);
  });
