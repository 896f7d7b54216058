# The time of a query against the number of rows, for all contenders. Needs `data`, whose
# columns are rows and times in milliseconds, headed by names; `count`, their number;
# `library`, the number of the one to be seen first; and `output`.

set terminal svg size 760,560 noenhanced font "sans-serif,13" background "#ffffff"
set output output
set logscale xy
set xtics ("1" 1, "10" 10, "100" 100, "1,000" 1000, "10,000" 10000, "100,000" 100000)
set format y "%g"
set xlabel "rows of five columns"
set ylabel "milliseconds for open, query, copy and close"
set grid
set key left top
colors = "#000000 #888888 #66ccee #228833 #ccbb44 #aa3377 #bbbbbb #ee6677 #4477aa"
plot for [contender=1:count] data using 1:contender+1 title columnheader(contender+1) \
  with linespoints pointtype contender pointsize 0.6 \
  linewidth (contender == library ? 3 : 1.5) linecolor rgb word(colors, contender)
