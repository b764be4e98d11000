# Draws the rules beside the same rules as YANG, and what an edit costs on an open card:
# gnuplot -e "data='FILE'; open='FILE'; image='FILE.svg'" curves.gp
count = int(system(sprintf("grep -c '^## ' '%s'", data)))
set terminal svg size 960,600 font "sans-serif,12" background "white"
set output image
set datafile missing "?"
set logscale xy
set xrange [0.8:20]
set yrange [0.01:20000]
set xtics (1, 2, 4, 8, 16)
set format y "10^{%L}"
set grid
set multiplot layout 2,(count + 2) / 2
do for [i = 1:count] {
    set title system(sprintf("sed -n 's/^## %d //p' '%s'", i, data))
    set xlabel "PON links of 128 ONUs"
    set ylabel "milliseconds"
    set key top left
    plot data index i - 1 using 1:2 with linespoints lw 2 pt 7 ps 0.6 lc "#c0392b" title "YANG", \
         data index i - 1 using 1:3 with linespoints lw 2 pt 5 ps 0.6 lc "#2060a0" title "plug-in"
}
set title "One edit more on an open card"
set xrange [0.8:80]
set xtics (1, 2, 4, 8, 16, 64)
plot open using 1:5 with linespoints lw 2 pt 7 ps 0.6 lc "#c0392b" title "128 new ONUs", \
     open using 1:4 with linespoints lw 2 pt 5 ps 0.6 lc "#2060a0" title "everyday", \
     open using 1:3 with linespoints lw 2 pt 9 ps 0.6 lc "#208040" title "quiet, committed", \
     open using 1:2 with linespoints lw 2 pt 11 ps 0.6 lc "#808080" title "quiet"
unset multiplot
