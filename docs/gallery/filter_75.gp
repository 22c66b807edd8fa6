load 'docs/gallery/style.gp'
set output 'docs/gallery/filter_75.svg'
set xlabel 'frequency in MHz'
set ylabel 'dB'
plot 'results/filter_75.ac.csv' using ($1 / 1e6):'v(own) [dBV]' title 'between 75 ohm', \
     '' using ($1 / 1e6):'v(other) [dBV]' title 'between 50 ohm and 100 ohm'
