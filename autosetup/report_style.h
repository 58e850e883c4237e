// How the report looks: on screen by day and by night, and on paper.
#pragma once

inline constexpr char kReportStyle[] = R"css(
:root{color-scheme:light dark;--page:#fff;--text:#1c2430;--soft:#566273;--line:#d5dbe3;--panel:#f4f6f9;
--good:#137a43;--warn:#a85f00;--bad:#b3261e;--blue:#1f5fbf;--violet:#7a3fb0;--band:#1f5fbf2e}
@media (prefers-color-scheme:dark){:root{--page:#12161c;--text:#e6eaf0;--soft:#9aa6b5;--line:#333c48;--panel:#1b2129;
--good:#4cc282;--warn:#f0a53a;--bad:#ff7b72;--blue:#76aaff;--violet:#c795f5;--band:#76aaff38}}
@media print{:root{color-scheme:light;--page:#fff;--text:#000;--soft:#444;--line:#bbb;--panel:#fff;--good:#0b5c31;
--warn:#7d4700;--bad:#8f1d17;--blue:#174a96;--violet:#5c2d87;--band:#1f5fbf2e}
nav{display:none}.scroll{overflow:visible}figure,tr,#verdict{break-inside:avoid}h2,h3{break-after:avoid}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:68rem;padding:1.5rem 1rem 4rem;background:var(--page);color:var(--text);
font:1rem/1.5 "Segoe UI",system-ui,sans-serif}
h1{font-size:1.6rem;margin:0}h2{font-size:1.25rem;margin:2.5rem 0 .5rem;border-bottom:1px solid var(--line)}
.date,small,figcaption,.legend,.missing{color:var(--soft)}
.date{margin:.1rem 0 1rem}
small{display:block;font-weight:normal}
#verdict{font-size:1.25rem;font-weight:600;margin:0;padding:.8rem 1rem;background:var(--panel);
border-left:.5rem solid var(--soft)}
#verdict.good{border-color:var(--good)}#verdict.warn{border-color:var(--warn)}#verdict.bad{border-color:var(--bad)}
nav{margin:1rem 0}nav a{margin-right:1rem}a{color:var(--blue)}
.scroll{overflow-x:auto}
table{border-collapse:collapse;width:100%;font-size:.92rem}
th,td{text-align:left;vertical-align:top;padding:.35rem .6rem;border-bottom:1px solid var(--line)}
thead th{color:var(--soft);font-weight:600}tbody th{font-weight:normal}
.number{text-align:right;font-variant-numeric:tabular-nums}.text{overflow-wrap:anywhere}
.range{white-space:nowrap}.items code{display:inline-block;margin-right:1.5rem}#kept th{width:14rem;min-width:10rem}
#jumps table{font-size:.85rem}#jumps th{white-space:nowrap}
code{font-family:Consolas,"DejaVu Sans Mono",monospace;font-size:.92em}th code{white-space:nowrap}
td.accepted,.key.accepted{color:var(--good)}td.outlier,.key.outlier{color:var(--warn)}
td.invalid,.key.invalid{color:var(--bad)}
td.accepted,td.outlier,td.invalid{font-weight:600}
figure{margin:1rem 0 1.5rem;overflow-x:auto}figcaption{font-size:.9rem}
svg{display:block;width:100%;min-width:40rem;height:auto;font-size:12px}
@media print{svg{min-width:0}}
svg text{fill:var(--soft)}
svg path{fill:none}
.frame{fill:var(--panel);stroke:var(--line)}
.grid{stroke:var(--line);stroke-width:.7}
.jump{fill:var(--soft);fill-opacity:.08}.jump.accepted{fill:var(--good)}.jump.outlier{fill:var(--warn)}
.jump.invalid{fill:var(--bad)}
.dots{stroke:var(--soft);stroke-width:3.2;stroke-linecap:round}.dots.accepted{stroke:var(--good)}
.dots.outlier{stroke:var(--warn);stroke-linecap:square}.dots.invalid{stroke:var(--bad);stroke-width:1.2}
.counted{fill:var(--blue)}.left-out{fill:none;stroke:var(--soft);stroke-width:1.5}
.median{stroke:var(--good);stroke-width:2}
.bound,.before{stroke:var(--bad);stroke-dasharray:6 4}.before{stroke:var(--soft)}
.band{fill:var(--band);stroke:var(--blue)}.rows{stroke:var(--text);stroke-opacity:.55;stroke-width:1.4}
.curve{stroke-width:2}.curve.to-start{stroke:var(--blue)}
.curve.to-scene{stroke:var(--warn);stroke-dasharray:8 4}.curve.to-end{stroke:var(--violet);stroke-dasharray:2 3}
.key.to-start{color:var(--blue)}.key.to-scene{color:var(--warn)}.key.to-end{color:var(--violet)}
)css";
