load 'docs/gallery/style.gp'
set output 'docs/gallery/buck.svg'
set multiplot layout 1,2
set xlabel 'time in us'
set xtics 200
set ylabel 'v(out) in V'
plot 'results/buck.tran.csv' using ($1 * 1e6):'v(out) [V]' every 40 title 'v(out)'
set xtics 2
set ylabel 'i(l1) in A'
set ytics nomirror
set y2tics 4
set y2range [-1:13]
set y2label 'v(sw) in V'
plot [584:592] 'results/buck.tran.csv' using ($1 * 1e6):($1 < 584e-6 || $1 > 592e-6 ? NaN : column('i(l1) [A]')) title 'i(l1)', \
     '' using ($1 * 1e6):($1 < 584e-6 || $1 > 592e-6 ? NaN : column('v(sw) [V]')) axes x1y2 title 'v(sw)'
unset multiplot
