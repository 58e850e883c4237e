// How the help page of the settings looks, by day, by night and on paper, and the script of its search box.
#pragma once

inline constexpr char kSettingsHelpStyle[] = R"css(
:root{color-scheme:light dark;--page:#fff;--text:#1c2430;--soft:#566273;--line:#d5dbe3;--panel:#f4f6f9;
--blue:#1f5fbf;--mark:#fff3b8}
@media (prefers-color-scheme:dark){:root{--page:#12161c;--text:#e6eaf0;--soft:#9aa6b5;--line:#333c48;
--panel:#1b2129;--blue:#76aaff;--mark:#4a4210}}
*{box-sizing:border-box}
html{scroll-padding-top:5.5rem}
body{margin:0 auto;max-width:88rem;padding:1.5rem 1rem 4rem;background:var(--page);color:var(--text);
font:1rem/1.5 "Segoe UI",system-ui,sans-serif}
h1{font-size:1.7rem;margin:.2rem 0}
h2{font-size:1.2rem;margin:2.2rem 0 .4rem}h2 small{font-weight:normal;color:var(--soft);font-size:.85rem}
p{max-width:48rem}a{color:var(--blue)}
:focus-visible{outline:3px solid var(--blue);outline-offset:2px;border-radius:3px}
code,kbd,.value{font-family:Consolas,"DejaVu Sans Mono",monospace;font-size:.9em}
kbd{border:1px solid var(--line);border-bottom-width:2px;border-radius:4px;padding:0 .35em;background:var(--panel)}
nav ul{columns:3 14rem;list-style:none;margin:.5rem 0 0;padding:.8rem 1rem;background:var(--panel);
border:1px solid var(--line);border-radius:6px}
nav li{break-inside:avoid;padding:.1rem 0}nav small{color:var(--soft)}
form{position:sticky;top:0;z-index:1;display:flex;flex-wrap:wrap;gap:.4rem 1rem;align-items:center;
margin:1rem -1rem 0;padding:.7rem 1rem;background:var(--page);border-bottom:1px solid var(--line)}
form[hidden]{display:none}
form label{font-weight:600}
form input{flex:1 1 16rem;max-width:34rem;padding:.45rem .7rem;font:inherit;color:inherit;background:var(--panel);
border:1px solid var(--soft);border-radius:6px}
form output{color:var(--soft);min-width:9rem}
.scroll{overflow-x:auto}
table{border-collapse:collapse;table-layout:fixed;width:100%;min-width:72rem;font-size:.92rem}
th,td{text-align:left;vertical-align:top;padding:.35rem .6rem;border-bottom:1px solid var(--line)}
thead th{color:var(--soft);font-weight:600;white-space:nowrap}tbody th{font-weight:600}
.key{width:18.5rem}.of-kind{width:7.5rem}.of-value{width:9rem}.of-unit{width:11rem}.of-reader{width:11rem}
tbody th{overflow-wrap:anywhere}tbody th code{white-space:pre-wrap}.help{white-space:pre-line}
.kind,.range,.kept{color:var(--soft)}.kind{white-space:nowrap}.value{overflow-wrap:anywhere}
@media screen and (max-width:58rem){table{min-width:0}thead{display:none}table,tbody,tr,tbody th,td{display:block}
tr{padding:.5rem 0;border-bottom:1px solid var(--line)}tbody th,td{border:0;padding:0}.value,.none,.reader{display:block}
.value::before,.none::before{content:"default: ";color:var(--soft);font-family:"Segoe UI",system-ui,sans-serif}
.reader::before{content:"read by: ";color:var(--soft)}td.kept{display:none}}
tr:target{background:var(--mark)}tr[hidden],section[hidden]{display:none}
.none{color:var(--soft)}
@media print{:root{color-scheme:light;--page:#fff;--text:#000;--soft:#444;--line:#bbb;--panel:#fff;--blue:#174a96}
form,nav{display:none}.scroll{overflow:visible}tr{break-inside:avoid}h2{break-after:avoid}
body{max-width:none;padding:0;font-size:.75rem}table{min-width:0;font-size:.9em}thead{display:table-header-group}
.key{width:27%}.of-kind{width:9%}.of-value{width:12%}.of-unit{width:15%}.of-reader{width:14%}.kind{white-space:normal}}
)css";

// Shows the rows that hold every word typed, in whatever column, and the headings of those.
inline constexpr char kSettingsHelpScript[] = R"js(
(function () {
  var form = document.getElementById('search');
  var box = document.getElementById('words');
  var found = document.getElementById('found');
  var sections = Array.prototype.map.call(document.querySelectorAll('section'), function (section) {
    var heading = section.querySelector('h2').textContent;
    var rows = Array.prototype.map.call(section.querySelectorAll('tbody tr'), function (row) {
      return { row: row, text: (heading + ' ' + row.textContent).toLowerCase() };
    });
    return { section: section, rows: rows };
  });
  function search() {
    var words = box.value.toLowerCase().split(/\s+/).filter(Boolean);
    var count = 0;
    sections.forEach(function (part) {
      var shown = 0;
      part.rows.forEach(function (entry) {
        var hit = words.every(function (word) { return entry.text.indexOf(word) >= 0; });
        entry.row.hidden = !hit;
        if (hit) shown += 1;
      });
      part.section.hidden = shown === 0;
      count += shown;
    });
    found.textContent = words.length === 0 ? '' :
      count === 0 ? 'Nothing found' : count === 1 ? '1 setting' : count + ' settings';
  }
  form.hidden = false;
  box.addEventListener('input', search);
  form.addEventListener('submit', function (event) { event.preventDefault(); });
  document.addEventListener('keydown', function (event) {
    if (event.key === '/' && document.activeElement !== box && !event.ctrlKey && !event.altKey && !event.metaKey) {
      event.preventDefault();
      box.focus();
      box.select();
    } else if (event.key === 'Escape' && document.activeElement === box) {
      box.value = '';
      search();
    }
  });
  window.addEventListener('hashchange', function () { box.value = ''; search(); });
  search();
})();
)js";
