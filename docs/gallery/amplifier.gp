load 'docs/gallery/style.gp'
set output 'docs/gallery/amplifier.svg'
set multiplot layout 1,2
set logscale x
set format x '%.0s%c'
set xtics 100
set xlabel 'frequency in Hz'
set ylabel 'v(out) in dB'
plot 'results/amplifier.ac.csv' using 1:'v(out) [dBV]' title 'gain'
unset logscale
set format
set xtics autofreq
set xlabel 'time in ms'
set ylabel 'voltage in mV'
plot [3:5] 'results/amplifier.tran.csv' using ($1 * 1e3):($1 < 3e-3 ? NaN : 1e3 * column('v(out) [V]')) every 8 title 'v(out)', \
     '' using ($1 * 1e3):($1 < 3e-3 ? NaN : 1e3 * column('v(in) [V]')) every 8 title 'v(in)'
unset multiplot
