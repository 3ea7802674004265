A&B P00001 NA Kinase Cytosol C/D P00002 NA TF Nucleus + phosphorylation 1001
A&B P00001 NA Kinase Cytosol C/D P00002 NA TF Nucleus + phosphorylation 1002
A&B P00001 NA Kinase Cytosol C/D P00002 NA TF Nucleus + phosphorylation 1003
C/D P00002 NA TF Nucleus C/D P00002 NA TF Nucleus - transcriptional_regulation 1004
"quoted" NA NA Ligand Extracellular A&B NA NA Receptor Membrane _ binding 1005
<tag> NA x1 Protein Cytosol "quoted" NA NA Ligand Extracellular 0 NA 1006
X,Y Q00003 NA Protein Cytosol IL-1β NA NA Protein Cytosol + NA 1007
it's NA NA NA NA X,Y Q00003 NA Protein Cytosol _ NA 1008
