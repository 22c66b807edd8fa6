load 'docs/gallery/style.gp'
set output 'docs/gallery/closed_loop.svg'
set xlabel 'time in us'
set ylabel 'voltage in V'
set ytics nomirror
set y2range [0:2]
set y2tics 0, 0.25, 1
set y2label 'duty cycle' offset 0, -4
plot 'results/loop.csv' using ($1 * 1e6):'reference' title 'reference', \
     '' using ($1 * 1e6):'voltage' title 'voltage', \
     '' using ($1 * 1e6):'duty' axes x1y2 with steps title 'duty cycle'
