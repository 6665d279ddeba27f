# Draws the data written by benchmarks/driver/stores.py --write:
#   gnuplot -e "data='FOLDER'; plots='FOLDER'" benchmarks/plot.gnuplot
# The colors can be distinguished with color blindness. The plug-in has the thickest line; stores that are not
# file systems have dashed lines.

set terminal svg size 760,460 font "sans-serif,14" background "white"
set grid ytics lc rgb "#dddddd" lt 1 lw 1
set border 3
set xtics nomirror
set ytics nomirror
set key outside right center samplen 3 spacing 1.3
set logscale x

stores = "provider tmpfs rocksdb leveldb llvm floor memcpy"
titles = "plug-in tmpfs RocksDB LevelDB LLVM 'hash map' memcpy"
colours = "#d55e00 #0072b2 #009e73 #cc79a7 #e69f00 #000000 #777777"
points = "7 5 9 11 13 4 6"
dashes = "1 1 1 1 1 2 3"

file(row, i) = sprintf("%s/%s/%s.dat", data, row, word(stores, i))
# The indices, in the lists above, of the stores with data for a row.
present(row) = system(sprintf("cd '%s/%s' 2>/dev/null || exit 0; i=0; for store in %s; do i=$((i + 1)); [ ! -e $store.dat ] || echo $i; done", data, row, stores))

set xlabel "entries in the folder"
set format x "%.0s%c"
set format y "%.0s%c"
set xtics (1000, 10000, 100000, 1000000)
set xrange [800:1250000]
set logscale y
set yrange [*:*]
rows = "create attributes missing list remove-in-order remove-at-random write overwrite read"
do for [n = 1:words(rows)] {
    row = word(rows, n)
    set title system(sprintf("echo '%s' | tr - ' '", row))
    set ylabel row eq "list" ? "ns per entry" : "ns per operation"
    if (row eq "write" || row eq "overwrite" || row eq "read") {
        set title row . ", blocks of 64 KiB"
        set xlabel "file size"
        set ylabel "GB/s"
        unset format
        set format y "%g"
        set xtics ("1 MiB" 2**20, "16 MiB" 2**24, "128 MiB" 2**27, "1 GiB" 2**30)
        set xrange [8e5:1.4e9]
        unset logscale y
        set yrange [0:*]
    }
    places = present(row)
    if (words(places) > 0) {
        set output sprintf("%s/%s.svg", plots, row)
        plot for [i in places] file(row, int(i)) using 1:2 with linespoints title word(titles, int(i)) \
            lc rgb word(colours, int(i)) pt int(word(points, int(i))) ps (int(i) == 1 ? 1.1 : 0.8) \
            lw (int(i) == 1 ? 5 : 2) dt int(word(dashes, int(i)))
    }
}
