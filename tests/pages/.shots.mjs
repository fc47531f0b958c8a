import { openBrowser } from "/work/main/tests/pages/support/browser.mjs";
const out = "/tmp/shots"; import { mkdirSync } from "node:fs"; mkdirSync(out,{recursive:true});
const b = await openBrowser();
const base = process.argv[2] ?? "http://127.0.0.1:8080/";
for (const [name, opt] of [["light",{colorScheme:"light",viewport:{width:1280,height:900}}],["dark",{colorScheme:"dark",viewport:{width:1280,height:900}}],["phone",{colorScheme:"light",viewport:{width:390,height:844}, hasTouch:true,isMobile:true}]]) {
  const c = await b.newContext(opt); const p = await c.newPage();
  p.on("console", m => console.log(name, m.type(), m.text())); p.on("pageerror", e => console.log(name,"ERR", e.message));
  await p.goto(base); await p.waitForTimeout(1500);
  if (await p.locator("#agreement").evaluate(d=>d.open)) { await p.screenshot({path:`${out}/agreement-${name}.png`}); if (process.argv[3]) { await p.click("#agreement-accept"); await p.waitForTimeout(2500);} else await p.click("#agreement-close"); }
  for (const t of ["live","detection","alerts","overlays","advanced"]) { await p.click(`#tab-${t}`); if (t==="advanced") { await p.click("#view-log").catch(()=>{}); } await p.waitForTimeout(t==="live"?1500:400); await p.screenshot({path:`${out}/${t}-${name}.png`}); 
   const over = await p.evaluate(()=>document.documentElement.scrollWidth - innerWidth); if (over>0) console.log(name,t,"overflow",over); }
  await c.close();
}
await b.close();
