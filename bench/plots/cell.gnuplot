# What a cell of a query costs, part by part. Needs `data`, whose columns are a name and a
# number of instructions, and `output`.

set terminal svg size 760,300 font "sans-serif,13" background "#ffffff"
set output output
set style fill solid 0.8
set boxwidth 0.6
set yrange [:] reverse
set xrange [0:*]
set xlabel "instructions for each cell"
set grid xtics
unset key
set lmargin 34
plot data using ($2/2):0:($2/2):(0.35):ytic(1) with boxxyerror linecolor rgb "#4477aa", \
  data using 2:0:(sprintf("  %d", $2)) with labels left
