load 'docs/gallery/style.gp'
set output 'docs/gallery/rc_lowpass.svg'
set logscale x
set format x '%.0s%c'
set xlabel 'frequency in Hz'
set ylabel 'v(out) in dB'
set y2label 'phase in degrees'
set ytics nomirror
set y2tics 15
set arrow from 1591.5, graph 0 to 1591.5, graph 1 nohead dashtype 2
plot 'results/rc_lowpass.ac.csv' using 1:'v(out) [dBV]' title 'v(out)', \
     '' using 1:'v(out) [deg]' axes x1y2 title 'phase'
