# What a cell of a query costs, part by part. Needs `data`, whose columns are a name and a
# number of instructions; `count`, how many; `most`, the largest; and `output`.

set terminal svg size 760,300 noenhanced font "sans-serif,13" background "#ffffff"
set output output
set style fill solid 0.8 noborder
set yrange [count - 0.4:-0.6]
set xrange [0:1.15 * most]
set xlabel "instructions for each cell"
set grid xtics
set ytics scale 0
unset key
set lmargin 42
plot data using ($2/2):0:($2/2):(0.35):ytic(1) with boxxyerror linecolor rgb "#4477aa", \
  data using 2:0:(sprintf("  %d", $2)) with labels left
