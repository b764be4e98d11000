# Draws the rules beside the same rules as YANG: gnuplot -e "data='FILE'; image='FILE.svg'" curves.gp
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
set multiplot layout 2,(count + 1) / 2
do for [i = 1:count] {
    set title system(sprintf("sed -n 's/^## %d //p' '%s'", i, data))
    set xlabel "PON links of 128 ONUs"
    set ylabel "milliseconds"
    set key top left
    plot data index i - 1 using 1:2 with linespoints lw 2 pt 7 ps 0.6 lc "#c0392b" title "YANG", \
         data index i - 1 using 1:3 with linespoints lw 2 pt 5 ps 0.6 lc "#2060a0" title "plug-in"
}
unset multiplot
