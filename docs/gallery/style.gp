# What the pictures of circuits have in common: the results are CSV with headings, by which columns are named.
set terminal svg size 760,400 dynamic background rgb 'white' noenhanced
set datafile separator ','
set grid
set style data lines
set for [i=1:8] linetype i linewidth 1.5
set key outside center top horizontal
