// Programs that people use: same output, same exit status and the same files, with and without the sampler.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

enum class Threads { No, Yes };

struct Program {
    const char *name; // of the test
    const char *needs; // the program that must be there, or a file of it
    Threads threads; // what threads do differs from run to run, so one run shows little
    const char
        *script; // for the shell, in a folder of its own; where the output has times in it, they are cut out
};

void PrintTo(const Program &program, std::ostream *stream)
{
    *stream << program.name;
}

std::string nameOf(const testing::TestParamInfo<Program> &row)
{
    return row.param.name;
}

class Programs : public testing::TestWithParam<Program> { };

// What a program said, and the files that it left.
Outcome runIn(const Folder &folder, const char *script, const Environment &environment)
{
    Outcome outcome = run({"bash", "-c", "cd \"$0\" && eval \"$1\"", folder.path(), script}, environment);
    outcome.output += run({"bash", "-c",
                              "cd \"$0\" && find . -name .git -prune -o -printf '%M %n %p %l\\n' | sort &&"
                              "find . -name .git -prune -o -type f -print0 | sort -z | xargs -0r md5sum",
                              folder.path()})
                          .output;
    return outcome;
}

// SAMPLER_RUNS=20 for as many runs of the programs that have threads.
int runsOf(const Program &program)
{
    const char *asked = std::getenv("SAMPLER_RUNS");
    return program.threads == Threads::No ? 1 : asked != nullptr ? std::atoi(asked) : 2;
}

} // namespace

TEST_P(Programs, RunTheSame)
{
    const Program &program = GetParam();
    if (run({"bash", "-c", std::string("command -v ") + program.needs}).status != 0)
        GTEST_SKIP() << "Requires " << program.needs;
    const Folder first;
    const Outcome alone = runIn(first, program.script, {});
    EXPECT_EQ(alone.status, 0) << alone;
    EXPECT_FALSE(alone.output.empty());
    for (int i = 0; i < runsOf(program); ++i) {
        const Folder spools;
        const Folder second;
        const Outcome sampled = runIn(second, program.script, samplingInto(spools.path()));
        ASSERT_EQ(alone, sampled) << "in run " << i;
        bool isAnyWhole = false;
        for (const SpoolFile &spool : spoolsIn(spools.path())) {
            // Some programs kill their children, at any moment of their lives.
            if (spool.isUnborn())
                continue;
            EXPECT_EQ(spool.complaint(), "");
            isAnyWhole = true;
        }
        EXPECT_TRUE(isAnyWhole);
    }
}

INSTANTIATE_TEST_SUITE_P(Shells, Programs,
    testing::Values(
        Program{"bash", "bash", Threads::No,
            "for i in $(seq 1 20); do (echo \"$i\") | tr 0-9 a-j; done; x=$(false; echo $?); echo \"$x\";"
            "trap 'echo trapped' USR1; kill -USR1 $$; { sleep 0.1; echo late; } & wait; cat < <(echo "
            "process);"
            "exec 5>f; echo five >&5; exec 5>&-; cat f; read -t 0.1 y < <(sleep 0.3) || echo timeout"},
        Program{"dash", "dash", Threads::No,
            "dash -c 'trap \"echo bye\" EXIT; (exit 7); echo $?; kill -TERM $$ & wait; echo not reached'; "
            "echo $?;"
            "{ dash -c 'ulimit -c 0; kill -SEGV $$'; } 2>/dev/null; echo $?; echo 'echo $((6*7)); exec true' "
            "| dash -s"},
        Program{"xargs", "xargs", Threads::No,
            "seq 1 200 | xargs -n 10 -P 4 sh -c 'echo $#' sh | sort | uniq -c"},
        Program{"timeout", "timeout", Threads::No,
            "timeout 0.2 sleep 5; echo $?; { timeout -s KILL 0.2 sh -c 'trap \"\" TERM; sleep 5'; } "
            "2>/dev/null; echo $?;"
            "timeout --preserve-status 0.2 sleep 5; echo $?; timeout 5 sh -c 'exit 9'; echo $?"},
        Program{"setsid", "setsid", Threads::No,
            "setsid -w sh -c 'echo in; exit 4'; echo $?; nohup sh -c 'echo x' 2>&1 | cat"},
        Program{"job_control", "bash", Threads::No,
            "set -m; sleep 0.3 & kill -STOP %1; sleep 0.1; jobs -s | tr -s ' '; kill -CONT %1; wait %1; echo "
            "$?"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Languages, Programs,
    testing::Values(
        Program{"perl", "perl", Threads::No,
            "perl -e 'open F,q(>),q(f); print F 1..5000; close F; print -s q(f), qq(\\n);"
            "$SIG{ALRM}=sub{die qq(alarm\\n)}; alarm 1; eval{sleep 5}; print $@; print `echo child`;"
            "if(!fork){exit 3} wait; print $?>>8, qq(\\n)'"},
        Program{"perl_threads", "perl", Threads::Yes,
            "perl -Mthreads -Mthreads::shared -e 'my $n :shared = 0; my @t = map { threads->create(sub {"
            "for (1..200) { lock $n; ++$n } return 7 }) } 1..4; my $s = 0; $s += $_->join for @t; print "
            "qq($n $s\\n)'"},
        Program{"python", "/usr/bin/python3", Threads::Yes,
            "/usr/bin/python3 -c 'import subprocess,threading,multiprocessing as m,os,signal,tempfile\n"
            "print(subprocess.check_output([\"echo\",\"hi\"]))\n"
            "r=[]\nts=[threading.Thread(target=r.append,args=(i,)) for i in range(20)]\n"
            "[t.start() for t in ts];[t.join() for t in ts];print(sorted(r))\n"
            "def f(q): q.put(os.getppid()>0)\n"
            "c=m.get_context(\"fork\");q=c.Queue();p=c.Process(target=f,args=(q,));p.start();print(q.get());"
            "p.join()\n"
            "print(p.exitcode);signal.signal(signal.SIGALRM,lambda *a:print(\"alarm\"));signal.alarm(1);"
            "signal.pause()'"},
        Program{"python_pool", "/usr/bin/python3", Threads::Yes,
            "/usr/bin/python3 -c 'import concurrent.futures as f, math\n"
            "if __name__ == \"__main__\":\n"
            " with f.ProcessPoolExecutor(3) as p: print(list(p.map(math.factorial, range(20))))\n"
            " with f.ThreadPoolExecutor(8) as p: print(sum(p.map(len, [\"x\"*i for i in range(500)])))\n'"},
        Program{"python_asyncio", "/usr/bin/python3", Threads::No,
            "/usr/bin/python3 -c 'import asyncio\n"
            "async def echo(r, w):\n w.write(await r.readline()); await w.drain(); w.close()\n"
            "async def main():\n"
            " s = await asyncio.start_server(echo, \"127.0.0.1\", 0); port = s.sockets[0].getsockname()[1]\n"
            " async def ask(i):\n"
            "  r, w = await asyncio.open_connection(\"127.0.0.1\", port); w.write(b\"%d\\n\" % i)\n"
            "  return (await r.readline()).strip()\n"
            " print(await asyncio.gather(*(ask(i) for i in range(50))))\n"
            " p = await asyncio.create_subprocess_exec(\"sh\", \"-c\", \"exit 5\"); print(await p.wait())\n"
            "asyncio.run(main())'"},
        Program{"node", "node", Threads::Yes,
            "node -e 'const w=require(\"worker_threads\");const t=[1,2,3].map(i=>new Promise(r=>new w.Worker("
            "`require(\"worker_threads\").parentPort.postMessage(${i}*2)`,{eval:true}).on(\"message\",r)));"
            "Promise.all(t).then(a=>{console.log(a);require(\"fs\").writeFileSync(\"f\",\"x\".repeat(1e6));"
            "console.log(require(\"child_process\").execSync(\"wc -c < f\").toString())})'"},
        Program{"awk", "awk", Threads::No,
            "seq 1 5000 | awk '{s+=$1} END {print s; \"echo from a pipe\" | getline x; print x; "
            "system(\"exit 3\")}'"},
        Program{"tclsh", "tclsh", Threads::No,
            "echo 'after 50 {set x 1}; vwait x; puts [exec echo hi]; exit 6' | tclsh; echo $?"}),
    nameOf);

// Python's own tests of what a guest can disturb: how many ran, and which failed or were left out. The
// longest ones run only where many runs are asked for.
#define PYTHONS_OWN(name, threads, modules)                                                                  \
    Program                                                                                                  \
    {                                                                                                        \
        name, "/usr/bin/python3 && test -e /usr/lib/python3.11/test/test_" name ".py", threads,              \
            "/usr/bin/python3 -c 'import io, sys, unittest\n"                                                \
            "suite = unittest.defaultTestLoader.loadTestsFromNames(sys.argv[1:])\n"                          \
            "done = unittest.TextTestRunner(stream=io.StringIO()).run(suite)\n"                              \
            "names = lambda those: sorted(str(test) for test, _ in those)\n"                                 \
            "print(\"ran\", done.testsRun, names(done.failures + done.errors), "                             \
            "names(done.skipped))' " modules " 2>&1 | grep '^ran'"                                           \
    }
INSTANTIATE_TEST_SUITE_P(PythonsOwnTests, Programs,
    testing::Values(PYTHONS_OWN("threading", Threads::Yes,
                        "test.test_threading.ThreadTests test.test_threading.ThreadJoinOnShutdown "
                        "test.test_threading.LockTests "
                        "test.test_threading.ConditionTests test.test_threading.BarrierTests"),
        PYTHONS_OWN("signal", Threads::No,
            "test.test_signal.PosixTests test.test_signal.WakeupFDTests test.test_signal.WakeupSignalTests "
            "test.test_signal.PendingSignalsTests test.test_signal.RaiseSignalTest "
            "test.test_signal.ItimerTest "
            "${SAMPLER_RUNS:+test.test_signal.SiginterruptTest test.test_signal.StressTest}"),
        PYTHONS_OWN("subprocess", Threads::No,
            "test.test_subprocess.POSIXProcessTestCase "
            "${SAMPLER_RUNS:+test.test_subprocess.ProcessTestCase}"),
        PYTHONS_OWN("multiprocessing_fork", Threads::Yes,
            "test.test_multiprocessing_fork.WithProcessesTestQueue "
            "test.test_multiprocessing_fork.WithProcessesTestLock "
            "test.test_multiprocessing_fork.WithProcessesTestEvent "
            "${SAMPLER_RUNS:+test.test_multiprocessing_fork.WithProcessesTestPool}")),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Tools, Programs,
    testing::Values(Program{"make", "make", Threads::No,
                        "printf 'all: a b c\\n%%: ; @echo $@; sleep 0.05; seq 1 100 | md5sum\\n' > Makefile;"
                        "make -s -j2 -O | sort; make -s missing/file -n; echo $?"},
        Program{"ninja", "ninja", Threads::No,
            "printf 'rule r\\n  command = seq 1 $out > $out\\nbuild 100: r\\nbuild 200: r\\nbuild 300: r 100 "
            "200\\n' > build.ninja;"
            "ninja --quiet; ninja --quiet; rm -f .ninja_log .ninja_deps; cat 100 200 300 | md5sum"},
        Program{"cmake", "cmake", Threads::No,
            "printf 'foreach(i RANGE 5)\\nexecute_process(COMMAND echo ${i} OUTPUT_VARIABLE "
            "o)\\nmessage(\"${o}\")\\n"
            "endforeach()\\nfile(WRITE f x)\\n' > s.cmake; cmake -P s.cmake"},
        Program{"gcc", "gcc", Threads::No,
            "printf '#include <stdio.h>\\nint main(void){puts(\"hello\");return 3;}' > h.c;"
            "gcc -O2 -pipe h.c -o h && ./h; echo $?; printf 'int x = ;' > bad.c; gcc -c bad.c; echo $?"},
        Program{"tar", "tar", Threads::No,
            "mkdir d; for i in 1 2 3; do seq 1 $((i*1000)) > d/$i; done;"
            "tar --sort=name --mtime=@0 --owner=0 --group=0 -cf - d | md5sum;"
            "tar --mtime=@0 -cf - d | gzip -n > d.tgz && mkdir e && tar -xzf d.tgz -C e && diff -r d e/d && "
            "ls -R e;"
            "rm d.tgz"},
        Program{"git", "git", Threads::Yes,
            "export HOME=$PWD GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_DATE='@1000000000 +0000' "
            "GIT_COMMITTER_DATE='@1000000000 +0000';"
            "git -c init.defaultBranch=m init -q r && cd r && git config user.name n && "
            "git config user.email n@host.example && seq 1 1000 > f && git add f && git commit -qm one &&"
            "seq 1 2000 > f && git commit -qam two && git log -p --stat | md5sum && git gc -q && git fsck "
            "2>&1 |"
            "grep -v -i check; git status -s; git rev-parse HEAD"},
        Program{"sed", "sed", Threads::No,
            "seq 1 1000 > f; sed -i 's/1/one/g' f; sed -n '5,7p' f; seq 1 9 | sed -u q"},
        Program{"grep", "grep", Threads::No,
            "seq 1 30000 | grep -c 7; seq 1 9 > f; grep -r 5 .; grep x f; echo $?"},
        Program{"sort", "sort", Threads::Yes,
            "seq 1 200000 | sort --parallel=4 -R --random-source=/dev/zero > f; sort --parallel=4 -S 1M -T . "
            "f | md5sum"},
        Program{"find", "find", Threads::No,
            "mkdir -p a/b/c; touch a/1 a/b/2; find a | sort; find a -type f -exec sh -c 'echo \"$@\" | wc "
            "-w' sh {} +; find nothing; echo $?"},
        Program{"gzip", "gzip", Threads::No,
            "seq 1 100000 > f; gzip -nk f; gzip -t f.gz; zcat f.gz | md5sum; gzip -d bad.gz; echo $?"},
        Program{"xz", "xz", Threads::Yes,
            "seq 1 300000 > f; xz -T4 --block-size=300000 -k f; xz -dc -T4 f.xz | md5sum"},
        Program{
            "pigz", "pigz", Threads::Yes, "seq 1 300000 > f; pigz -n -p 4 -k f; pigz -dc -p 4 f.gz | md5sum"},
        Program{"zip", "zip", Threads::No,
            "mkdir d; seq 1 5000 > d/1; touch -d @1000000000 d d/1; zip -qrX z.zip d; unzip -p z.zip d/1 | "
            "md5sum"},
        Program{"dd", "dd", Threads::No,
            "dd if=/dev/zero of=f bs=4k count=300 conv=fsync status=none; dd if=f of=g bs=1M iflag=fullblock "
            "status=none;"
            "cmp f g && echo same; dd if=/dev/full of=/dev/null bs=1 count=1 status=none; dd if=/dev/zero "
            "of=/dev/full count=1 status=none; echo $?"},
        Program{"cp", "cp", Threads::No,
            "mkdir d; seq 1 50000 > d/f; ln d/f d/h; ln -s f d/s; truncate -s 1M d/sparse; cp -a d e; diff "
            "-r d e && echo same; mv e g; rm -r d"},
        Program{"split", "split", Threads::No,
            "seq 1 10000 | split -n r/7 --filter='md5sum' | sort; seq 1 999 | split -l 300; cat x*| md5sum"},
        Program{"diff", "diff", Threads::No,
            "seq 1 500 > a; sed s/99/x/ a > b; diff -u a b | tail -n +3 > p; cat p; patch a p; cmp a b && "
            "echo same"},
        Program{"openssl", "openssl", Threads::No,
            "seq 1 9999 > f; openssl dgst -sha256 f; openssl enc -aes-256-cbc -K 0 -iv 0 -in f -out g "
            "2>/dev/null; md5sum g; openssl nothing 2>/dev/null; echo $?"},
        Program{"sqlite3", "sqlite3", Threads::No,
            "sqlite3 db 'create table t(x); with recursive c(n) as (select 1 union all select n+1 from c "
            "where n<20000) insert into t select n from c;"
            "select sum(x) from t; vacuum;'; sqlite3 db 'select nothing'; echo $?; rm db"},
        Program{"curl", "curl", Threads::Yes,
            "seq 1 5000 > f; curl -s file://$PWD/f | md5sum; curl -s http://127.0.0.1:1/; echo $?"},
        Program{
            "groff", "groff", Threads::No, "printf '.TH x 1\\n.SH NAME\\nx \\- y\\n' | groff -man -Tascii"},
        Program{"valgrind", "valgrind", Threads::No, "valgrind -q --error-exitcode=9 true; echo $?"}),
    nameOf);

// Under real launchers; what they print of times is left out.
INSTANTIATE_TEST_SUITE_P(Parallel, Programs,
    testing::Values(Program{"clustalo", "clustalo", Threads::Yes,
                        "for i in 1 2 3 4 5 6; do echo \">s$i\"; seq $i 40 | md5sum | tr 0-9 ACDEFGHIKL | tr "
                        "-dc ACDEFGHIKL; echo; done > f;"
                        "clustalo -i f --threads=3"},
        Program{"lammps", "lmp", Threads::Yes,
            "export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 "
            "OMPI_MCA_rmaps_base_oversubscribe=1;"
            "printf '%s\\n' 'units lj' 'lattice fcc 0.8442' 'region b block 0 5 0 5 0 5' 'create_box 1 b' "
            "'create_atoms 1 box'"
            " 'mass 1 1.0' 'velocity all create 1.0 87287' 'pair_style lj/cut 2.5' 'pair_coeff 1 1 1 1' 'fix "
            "1 all nve'"
            " 'thermo 10' 'run 50' > in; mpirun -n 2 lmp -in in -log none | grep -E '^ +[0-9]+ +[0-9.-]+ '"},
        Program{"mpi4py", "/usr/bin/python3 && /usr/bin/python3 -c 'import mpi4py'", Threads::Yes,
            "export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 "
            "OMPI_MCA_rmaps_base_oversubscribe=1;"
            "printf '%s\\n' 'from mpi4py import MPI' 'w = MPI.COMM_WORLD' 'x = w.alltoall([w.rank * 10 + i "
            "for i in range(w.size)])'"
            " 'y = w.allreduce(w.rank, MPI.MAX)' 'z = w.gather((x, y))' 'if w.rank == 0: print(z)' > p.py;"
            "mpirun -n 3 /usr/bin/python3 p.py"}),
    nameOf);
