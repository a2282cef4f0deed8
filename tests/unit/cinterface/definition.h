#ifndef DEFINITION_H
#define DEFINITION_H

/* A definition in which every kind of thing occurs once. */
static const char kDefinition[]
    = "<report xmlns=\"http://brivane.example/2016/BrivaneReports\" name='Cache study'>"
      "<reportMetrics>"
      "<reportMetric id='m' displayName='Hits' units='%' colour='rgb(1,2,3)'/>"
      "<reportMetric id='n' displayName='Misses' units='%' breakdownSubsection='s'/>"
      "</reportMetrics>"
      "<summary><heading>Where the accesses went</heading>"
      "<entry id='hits' reportMetric='m'/><entry id='misses' reportMetric='n'/></summary>"
      "<subsections><subsection id='s' heading='Misses'><entry reportMetric='n'/></subsection></subsections>"
      "</report>";

#endif
