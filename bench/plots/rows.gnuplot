# The time of a query against the number of rows, for all contenders. Needs `data`, whose
# columns are rows and times in milliseconds, headed by names; `count`, their number; and
# `output`.

set terminal svg size 760,480 font "sans-serif,13" background "#ffffff"
set output output
set logscale xy
set format x "10^{%L}"
set format y "%g"
set xlabel "rows of five columns"
set ylabel "milliseconds for open, query, copy and close"
set grid
set key left top
set style data linespoints
plot for [contender=2:count+1] data using 1:contender title columnheader(contender) \
  linewidth 1.5 pointsize 0.6
