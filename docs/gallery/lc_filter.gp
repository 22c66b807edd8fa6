load 'docs/gallery/style.gp'
set output 'docs/gallery/lc_filter.svg'
set logscale x
set xlabel 'frequency in MHz'
set ylabel 'v(out) in dB'
plot [0.1:1000] 'results/lc_filter.ac.csv' using ($1 / 1e6):'v(out) [dBV]' title 'v(out)'
