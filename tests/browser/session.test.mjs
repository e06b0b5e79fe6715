// End-to-end test of a session page in Debian's chromium, driven by
// playwright-core: clicks, typing, a modal dialog, a long task reported
// through the update channel, reloads, and two independent sessions. Any
// page error or console error fails the test. The screenshot is kept as an
// artifact in the build folder.
//
//   node session.test.mjs DEMO ARTIFACT_DIR
// DEMO is the example application toviktwo_demo: it is started with
// "--port 0 --no-browser" in a temporary folder, its address is read from the
// line it prints, and it is ended with "quit" on its standard input; a demo
// that does not end by itself within a bounded wait is killed and the test
// fails. Exit code 77: skipped (chromium or playwright-core missing).
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const CHROMIUM = '/usr/bin/chromium';
const SKIP = 77;
const [demo, artifactDir] = process.argv.slice(2);
const QUIT_WAIT_MS = 10000;

function skip(why) {
  console.log(`browser test skipped: ${why}`);
  process.exit(SKIP);
}

if (!existsSync(CHROMIUM)) skip(`${CHROMIUM} is not installed (scripts/install-deps.sh installs it)`);
let chromium;
try {
  ({ chromium } = await import('playwright-core'));
} catch {
  skip('playwright-core is missing (run npm ci in tests/browser, as scripts/install-deps.sh does)');
}

// Starts the demo in its own folder and resolves with its port and a stop
// function; stop() sends "quit" and resolves with the exit code, killing the
// demo (and failing) if it has not ended within QUIT_WAIT_MS.
function startDemo(folder) {
  const child = spawn(demo, ['--port', '0', '--no-browser'], { cwd: folder, stdio: ['pipe', 'pipe', 'inherit'] });
  let exited = null;
  const ended = new Promise((resolve) => child.on('exit', (code, signal) => { exited = { code, signal }; resolve(exited); }));
  const stop = async () => {
    if (exited) return exited;
    child.stdin.end('quit\n');
    const timer = new Promise((resolve) => setTimeout(() => resolve(null), QUIT_WAIT_MS));
    const result = await Promise.race([ended, timer]);
    if (result) return result;
    child.kill('SIGKILL');
    await ended;
    return { code: null, signal: 'SIGKILL (did not end on quit)' };
  };
  return new Promise((resolve, reject) => {
    let out = '';
    const timer = setTimeout(() => { stop(); reject(new Error(`demo did not print its address: ${out}`)); }, 10000);
    ended.then((e) => { clearTimeout(timer); reject(new Error(`demo ended early with ${e.code}: ${out}`)); });
    child.stdout.on('data', (chunk) => {
      out += chunk;
      const m = out.match(/^toviktwo demo: open http:\/\/127\.0\.0\.1:(\d+)\/$/m);
      if (!m) return;
      clearTimeout(timer);
      resolve({ port: Number(m[1]), stop });
    });
  });
}

const problems = [];
function watch(page, name) {
  page.on('pageerror', (e) => problems.push(`${name}: page error: ${e.message}`));
  page.on('console', (m) => { if (m.type() === 'error') problems.push(`${name}: console error: ${m.text()}`); });
  return page;
}

const text = (page, selector) => page.locator(selector).innerText();
async function waitText(page, selector, expected) {
  await page.waitForFunction(([s, e]) => document.querySelector(s)?.textContent.trim() === e,
                             [selector, expected], { timeout: 10000 });
}

const folder = mkdtempSync(join(tmpdir(), 'toviktwo-demo-browser-'));
const profile = mkdtempSync(join(tmpdir(), 'toviktwo-chromium-'));
let port, stop;
try {
  ({ port, stop } = await startDemo(folder));
} catch (e) {
  rmSync(folder, { recursive: true, force: true });
  rmSync(profile, { recursive: true, force: true });
  throw e;
}
const base = `http://127.0.0.1:${port}`;
let context;
try {
  // A fresh profile folder is the user data dir (playwright passes it as --user-data-dir).
  context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    viewport: { width: 1280, height: 800 },
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
           '--disable-component-update', '--disable-sync'],
  });
  const page = watch(await context.newPage(), 'first page');
  await page.goto(`${base}/`);
  await page.waitForFunction(() => document.getElementById('sessionid').textContent !== '-');
  const id = await text(page, '#sessionid');
  assert.equal(await page.title(), 'toviktwo workbench');
  // The page keeps its session id in the address bar.
  assert.equal(new URL(page.url()).searchParams.get('tovikid'), id);

  // A click runs the server's function; the returned script changes the page.
  for (let i = 1; i <= 3; i++) {
    await page.click('#countbutton');
    await waitText(page, '#count', String(i));
  }

  // The server reads the text field and echoes it, quotes and markup intact.
  await page.fill('#echoinput', 'hello "<world>" \\ \'x\'');
  await page.click('#echobutton');
  await waitText(page, '#echo', 'The server read: hello "<world>" \\ \'x\'');

  // A modal dialog opens over a cover of the whole page, and closes.
  await page.click('#dialogbutton');
  await page.waitForSelector('#dialog', { state: 'visible' });
  await waitText(page, '#dialogstate', 'open');
  const cover = await page.locator('#modallock1000').boundingBox();
  assert.deepEqual([cover.x, cover.y, cover.width, cover.height], [0, 0, 1280, 800]);
  const topmost = await page.evaluate(() => document.elementFromPoint(5, 5).id);
  assert.equal(topmost, 'modallock1000', 'the cover lies over the page');
  await page.screenshot({ path: join(artifactDir, 'session-modal.png') });
  await page.click('#dialogclose');
  await page.waitForSelector('#dialog', { state: 'detached' });
  await waitText(page, '#dialogstate', 'closed');
  assert.equal(await page.locator('#modallock1000').count(), 0);
  assert.equal(await page.locator('#modalenvelope1001').count(), 0);

  // A long task reports its progress through the update channel until done.
  const seen = new Set();
  await page.click('#taskbutton');
  await page.waitForFunction(() => {
    const bar = document.querySelector('#taskprogress progress');
    return bar && Number(bar.value) > 0;
  }, null, { timeout: 10000 });
  seen.add(await page.locator('#taskprogress progress').evaluate((b) => Number(b.value)));
  await waitText(page, '#taskprogress .label', 'done');
  assert.equal(await page.locator('#taskprogress progress').evaluate((b) => Number(b.value)), 20);
  assert.ok([...seen].some((v) => v > 0 && v < 20), `a value between start and end was shown: ${[...seen]}`);
  await page.screenshot({ path: join(artifactDir, 'session-page.png'), fullPage: true });

  // A reload comes back to the same session and shows the server's state.
  await page.reload();
  await waitText(page, '#sessionid', id);
  await waitText(page, '#count', '3');
  await waitText(page, '#taskprogress .label', 'done');
  assert.match(await text(page, '#echo'), /hello/);

  // The widget script evaluates an answer unless "<!" starts within its
  // first eleven characters (an HTML page sent by mistake is not run).
  const evaluated = await page.evaluate(() => {
    window.late = 0;
    window.ea = 0;
    tovikwidgetsuccess.call({ responseText: 'late=1;    <!-- "<!" at index 11' });
    tovikwidgetsuccess.call({ responseText: 'ea=1;<!-- "<!" at index 5, the sixth character' });
    return [window.late, window.ea];
  });
  assert.deepEqual(evaluated, [1, 0]);

  // The update script copies only DIV children of "novidade" onto elements
  // that the live page holds; anything else in the answer is ignored.
  const copied = await page.evaluate(() => {
    const real = xmlhttp_tu;
    xmlhttp_tu = {
      readyState: 4, status: 200,
      responseText: '<html><body><div id="novidade" lurvoref="_none_" lurvofim="sim" lurvoupdatetime="0">' +
        '<div id="echo">from the channel</div><span id="count">not a div</span>' +
        '<div id="no-such-element">lost</div></div></body></html>',
    };
    try {
      real.onreadystatechange();
    } finally {
      xmlhttp_tu = real;
    }
    return [document.getElementById('echo').textContent, document.getElementById('count').textContent,
            document.getElementById('no-such-element')];
  });
  assert.deepEqual(copied, ['from the channel', '3', null]);

  // Opening the page with its id reaches the same session from another tab.
  const again = watch(await context.newPage(), 'page opened by id');
  await again.goto(`${base}/?tovikid=${encodeURIComponent(id)}`);
  await waitText(again, '#count', '3');

  // A plain "/" makes a second, independent session.
  const other = watch(await context.newPage(), 'second session');
  await other.goto(`${base}/`);
  await other.waitForFunction(() => document.getElementById('sessionid').textContent !== '-');
  assert.notEqual(await text(other, '#sessionid'), id);
  await waitText(other, '#count', '0');
  await other.click('#countbutton');
  await waitText(other, '#count', '1');
  await page.click('#countbutton');
  await waitText(page, '#count', '4');
  await other.reload();
  await waitText(other, '#count', '1');

  // An unknown id reaches no session: the request falls through to the
  // demo's folder of files, which answers "/" with its index page, and a
  // path the folder does not hold with the 404 page.
  const gone = await context.newPage();
  const fallen = await gone.goto(`${base}/?tovikid=no-such-session`);
  assert.equal(fallen.status(), 200);
  assert.equal(await gone.title(), 'toviktwo demo');
  const missing = await gone.goto(`${base}/no-such-page?tovikid=no-such-session`);
  assert.equal(missing.status(), 404);
  assert.match(await gone.content(), /Error 404 - not found/);
  await gone.close();

  assert.deepEqual(problems, [], 'no page or console errors');
  console.log(`browser test passed; screenshots in ${artifactDir}`);
} finally {
  if (context) await context.close();
  const end = await stop();
  rmSync(profile, { recursive: true, force: true });
  rmSync(folder, { recursive: true, force: true });
  if (end.code !== 0) {
    console.error(`the demo did not end cleanly on "quit": ${JSON.stringify(end)}`);
    process.exitCode = 1;
  }
}
