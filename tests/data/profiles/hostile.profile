# Every text that comes from outside tries to become markup, a template, a placeholder or an end of the data.
start 2026-12-24T18:00:00
target /tmp/</script><script>alert(1)</script>/<!--prog-->"'&amp;.exe
command-line mpirun -n 2 prog '</script><script>alert(1)</script>' <!-- --> ]]> "double" 'single' `back` \\u0041 \\n {{data.x}} {{{raw}}} ${overview.cpu.percent} ${*mpi.p2pRate} %1 %s %n a,b,"c,""d" \u2028line\u2029paragraph\nsecond line\twith a tab, lone \ud800 and \udc00 halves
host-name <img src=x onerror=alert(1)>.node.example
profiled-ranks 0-1,<b>2</b>
omp-num-threads 1"><i>
notes </script><!-- ]]> {{#each data}} ${brivane.appDetails.exeName}, "quoted", 'single', back\\slash, \ud83d alone\nnext line\u2028after a line separator
processes 2
nodes 1
samples 10 500
cores 8 4
main compute 60
main mpi_collective 25
main io_read 15
alone compute 60
alone mpi_collective 25
active-cores 0.9 1
error bytes_read </script><script>alert(2)</script> {{data}} ${overview.mpi.percent} %1, "quoted"
error rss <b onmouseover="alert(3)">Not</b> permitted ]]> <!--
error rapl_power Not <script>alert(4)</script>, {{energy}}
error mpi_collective_bytes first line\nsecond line\u2028third
series mpi_p2p_bytes 0
series node_mem_percent 12
series load_avg 50
